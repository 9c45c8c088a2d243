// Two texts of one 32-bit id share a record of the store. What one of them loses to the other must
// not cost a reference.

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <list>
#include <unordered_map>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "tests/support/Scan.h"
#include "vxdependency/rename/RenamePlan.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/RecordId.h"

namespace fs = std::filesystem;

namespace vexa::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using vxdependency::Direction;
using vxdependency::GeneralDependency;
using vxdependency::GraphReader;
using vxdependency::IdOf;
using vxdependency::InverseText;
using vxdependency::RecordId;
using vxdependency::StampText;
using List = std::vector<std::string>;

constexpr const char* kRules = R"({
    "xml": {"name_list": [{"element": "a", "attribute": "f", "strategy": 2}]}})";

std::string Naming(const List& keys) {
    std::string text = "<s>";
    for (const std::string& key : keys) text += "<a f='" + key + "'/>";
    return text + "</s>";
}

class SharedRecordTest : public testing::Test {
protected:
    using Text = std::function<std::string(const std::string& key)>;
    using Names = std::pair<std::string, std::string>;

    // Keys, "NAME-N.EXT", of which these texts share a record.
    static Names Sharing(const Names& first, const Text& textOfFirst, const Names& second,
                         const Text& textOfSecond) {
        const auto key = [](const Names& name, int number) {
            return name.first + "-" + std::to_string(number) + name.second;
        };
        std::unordered_map<RecordId, int> met;
        for (int number = 0;; ++number) {
            met.emplace(IdOf(textOfFirst(key(first, number))), number);
            const auto found = met.find(IdOf(textOfSecond(key(second, number))));
            if (found != met.end()) return {key(first, found->second), key(second, number)};
        }
    }

    CDependencyManager& Manager() { return CDependencyManager::GetSingleton(); }
    List References(const std::string& key) {
        return GraphReader(GeneralDependency::Instance()).Edges(key, Direction::Forward);
    }
    List ListOfUsers(const std::string& key) {
        List users;
        GeneralDependency::Instance()->GetInverseDependency(key, users);
        return users;
    }

    // Another second each time, so that each has a stamp of its own.
    void Write(const std::string& key, const List& references) {
        project.Write(key, Naming(references));
        using namespace std::chrono_literals;
        m_time += 10s;
        fs::last_write_time(project.Resource(key), m_time);
    }

    // As another process scans, which knows nothing of the scans before.
    ScanStatistics ScanAnew() {
        DependencyScanner& scanner = m_scanners.emplace_back();
        SignalWait<CDependencyManager::ScanFinished> finished;
        scanner.Exec();
        finished.Until(1);
        scanner.PauseAndWait();
        return scanner.GetStatistics();
    }

    bool Rename(const std::string& from, const std::string& to) {
        return Manager().SyncRename(project.Resource(from), project.Resource(to));
    }

    const Text forward = [](const std::string& key) { return key; };
    const Text inverse = InverseText;
    const Text stamp = [this](const std::string& key) { return StampText(project.Resource(key)); };

    Project project{kRules};
    LogCapture log;

private:
    std::list<DependencyScanner> m_scanners;
    fs::file_time_type m_time = fs::file_time_type::clock::now() - std::chrono::hours(1);
};

TEST_F(SharedRecordTest, FilesThatShareAStampAreFollowedAndLeaveScansNothingToDo) {
    const auto [one, other] = Sharing({"one", ".xml"}, stamp, {"other", ".xml"}, stamp);
    project.Touch("t.png", "u.png");
    Write(one, {"t.png"});
    Write(other, {"later.png"});
    ScanAnew();
    EXPECT_EQ(ScanAnew().regenerated, 1) << "only one of them has its stamp there";
    EXPECT_EQ(ScanAnew().regenerated, 0) << "that changed nothing, which the last scan has noted";

    for (const std::string& key : {one, other}) {
        Write(key, {"u.png", "later.png"});
        ScanAnew();
        EXPECT_THAT(References(key), ElementsAre("u.png"));
    }
    project.Touch("later.png");
    ScanAnew();
    EXPECT_THAT(References(one), ElementsAre("later.png", "u.png"));
    EXPECT_THAT(References(other), ElementsAre("later.png", "u.png"));
    ScanAnew();
    EXPECT_EQ(ScanAnew().regenerated, 0);
    // A stamp that is taken away is noticed, though the other's is put there then.
    Manager().Invalidate({one});
    EXPECT_EQ(Manager().GetDependency(other, false).size(), 2);
    EXPECT_EQ(ScanAnew().regenerated, 1);
}

// What takes the place of the users of a resource, and what happens to that before the rename.
enum class Taker { Stamp, Forward };
enum class Before { Nothing, TakerRemoved, TakerRenamed };

class LostUsersTest : public SharedRecordTest,
                      public testing::WithParamInterface<std::tuple<Taker, Before>> {
protected:
    void ExpectAnswers(const std::string& resource) {
        EXPECT_THAT(Manager().EdgesOf(resource, true), ElementsAre("first.xml", "second.xml"));
        EXPECT_THAT(Manager().EdgesOf("first.xml", false), ElementsAre(resource, "u.png"));
    }
};

TEST_P(LostUsersTest, AreFoundByQueriesAndRenames) {
    const auto [how, before] = GetParam();
    const auto [resource, taker] =
        Sharing({"t", ".png"}, inverse, {"taker", ".xml"}, how == Taker::Stamp ? stamp : forward);
    project.Touch(resource, "u.png");
    Write("first.xml", {resource, "u.png"});
    Write("second.xml", {resource});
    Write(taker, {"u.png"});
    Scan();
    Write(taker, {"u.png", "u.png"});
    Scan();
    ASSERT_THAT(ListOfUsers(resource), Not(Contains("first.xml")));
    ExpectAnswers(resource);
    if (before == Before::TakerRemoved) {
        project.Remove(taker);
        Scan();
    }
    if (before == Before::TakerRenamed) {
        ASSERT_TRUE(Rename(taker, "renamed.xml"));
    }
    if (before != Before::Nothing) {
        EXPECT_THAT(ListOfUsers(resource), testing::UnorderedElementsAre("first.xml", "second.xml"))
            << "nothing shares its record any more";
    }
    ASSERT_TRUE(Rename(resource, "new.png"));
    EXPECT_EQ(project.Read("first.xml"), Naming({"new.png", "u.png"}));
    EXPECT_EQ(project.Read("second.xml"), Naming({"new.png"}));
    EXPECT_THAT(Manager().GetDependency("new.png", true),
                testing::UnorderedElementsAre("first.xml", "second.xml"));
}

std::string NameOf(const testing::TestParamInfo<std::tuple<Taker, Before>>& test) {
    constexpr const char* kBefore[] = {"", "Removed", "Renamed"};
    const auto [how, before] = test.param;
    return std::string(how == Taker::Stamp ? "ByAStamp" : "ByAList") +
           kBefore[static_cast<int>(before)];
}

INSTANTIATE_TEST_SUITE_P(All, LostUsersTest,
                         testing::Combine(testing::Values(Taker::Stamp, Taker::Forward),
                                          testing::Values(Before::Nothing, Before::TakerRemoved,
                                                          Before::TakerRenamed)),
                         NameOf);

TEST_F(SharedRecordTest, AFileWhoseOwnListIsLostTooIsReadInstead) {
    const auto [resource, taker] = Sharing({"t", ".png"}, inverse, {"taker", ".xml"}, stamp);
    const auto [user, second] = Sharing({"user", ".xml"}, forward, {"second", ".xml"}, stamp);
    project.Touch(resource, "u.png");
    Write(user, {resource, "u.png"});
    Write(taker, {});
    Write(second, {});
    Scan();
    Write(taker, {});
    Write(second, {});
    Scan();
    ASSERT_THAT(ListOfUsers(resource), IsEmpty());
    ASSERT_THAT(References(user), IsEmpty());
    EXPECT_THAT(Manager().UsersOf({resource}), ElementsAre(user));
    EXPECT_THAT(Manager().EdgesOf(resource, true), ElementsAre(user));
    EXPECT_THAT(Manager().EdgesOf(user, false), ElementsAre(resource, "u.png"));
    EXPECT_THAT(Manager().EdgesOf("u.png", true), ElementsAre(user));
    RenamePlan plan;
    ASSERT_TRUE(
        Manager().MoveResource(project.Resource(resource), project.Resource("new.png"), {}, plan));
    EXPECT_THAT(plan.notRewritten, IsEmpty());
    EXPECT_THAT(plan.appearing, IsEmpty());
    EXPECT_EQ(project.Read(user), Naming({"new.png", "u.png"}));
}

TEST_F(SharedRecordTest, UsersOfARemovedResourceAreReadAgain) {
    const auto [resource, taker] = Sharing({"t", ".png"}, inverse, {"taker", ".xml"}, stamp);
    project.Touch(resource);
    Write("user.xml", {resource});
    Write(taker, {});
    Scan();
    Write(taker, {});
    Scan();
    project.Remove(resource);
    Scan();
    vxdependency::Findings findings;
    ASSERT_TRUE(GeneralDependency::Instance()->GetFindings("user.xml", findings));
    EXPECT_EQ(findings.missing.size(), 1);
}

}  // namespace
}  // namespace vexa::test
