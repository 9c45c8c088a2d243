#include <gmock/gmock.h>

#include <filesystem>
#include <map>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "tests/support/Scan.h"
#include "vxdependency/rename/RenamePlan.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"

namespace fs = std::filesystem;

namespace vexa::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using vxdependency::Direction;
using vxdependency::GeneralDependency;
using vxdependency::GraphReader;
using List = std::vector<std::string>;
using Graph = std::map<std::string, List>;

// Scenes name things relative to their folder (near) and from the resource root (far).
constexpr const char* kXmlRules = R"({"xml": {"name_list": [
    {"element": "near", "attribute": "file", "strategy": 1},
    {"element": "far", "attribute": "file", "strategy": 2}]}})";
constexpr const char* kJsonRules =
    R"({"json": {"name_list": [{"member": "near", "strategy": 1}]}})";

std::string Scene(const std::string& kind, const List& files) {
    std::string text = "<scene>";
    for (const std::string& file : files) text += "<" + kind + " file='" + file + "'/>";
    return text + "</scene>";
}

class RenameTest : public testing::Test {
protected:
    CDependencyManager& Manager() { return CDependencyManager::GetSingleton(); }
    List Users(const std::string& key) { return Manager().GetDependency(key, true); }

    Graph Recorded() {
        Graph graph;
        const GraphReader reader(GeneralDependency::Instance());
        for (const Direction direction : {Direction::Forward, Direction::Inverse}) {
            reader.ForEach(direction, [&](const std::string& key, List edges) {
                std::ranges::sort(edges);
                graph[(direction == Direction::Forward ? "> " : "< ") + key] = edges;
            });
        }
        return graph;
    }

    // The store holds what a new one would.
    void ExpectTrueStore() {
        const Graph recorded = Recorded();
        GeneralDependency::Instance()->Clear();
        Scan();
        EXPECT_EQ(recorded, Recorded());
    }

    bool Sync(const std::string& source, const std::string& destination) {
        return Manager().SyncRename(project.Resource(source), project.Resource(destination));
    }

    void Move(const std::string& source, const std::string& destination) {
        fs::rename(project.Resource(source), project.Resource(destination));
    }

    Project project{kXmlRules, kJsonRules};
};

TEST_F(RenameTest, SyncRenameMovesRewritesRecordsAndTells) {
    project.Touch("a/x.png", "b/keep.png");
    project.Write("a/x.png.vxmeta", "meta");
    project.Write("a/s.xml", Scene("near", {"x.png", "../b/keep.png"}));
    project.Write("b/far.xml", Scene("far", {"a/x.png"}));
    Scan();
    List told;
    const auto token = Manager().Connect<CDependencyManager::FileRenamed>([&] {
        told.push_back(Manager().GetRenamed().oldKey + ">" + Manager().GetRenamed().newKey);
    });
    ASSERT_TRUE(Sync("a/x.png", "b/y & 'z'.png"));
    EXPECT_EQ(project.Read("b/y & 'z'.png.vxmeta"), "meta");
    EXPECT_EQ(project.Read("a/s.xml"),
              Scene("near", {"../b/y &amp; &apos;z&apos;.png", "../b/keep.png"}));
    EXPECT_THAT(Users("b/y & 'z'.png"), UnorderedElementsAre("a/s.xml", "b/far.xml"));
    ASSERT_TRUE(Sync("a/s.xml", "top.xml"));
    EXPECT_EQ(project.Read("top.xml"),
              Scene("near", {"b/y &amp; &apos;z&apos;.png", "b/keep.png"}));
    ASSERT_TRUE(Sync("b", "c"));
    EXPECT_EQ(project.Read("c/far.xml"), Scene("far", {"c/y &amp; &apos;z&apos;.png"}));
    vxThread<0>::Handle.run_pending();
    Manager().Disconnect<CDependencyManager::FileRenamed>(token);
    EXPECT_THAT(told, UnorderedElementsAre("a/x.png>b/y & 'z'.png", "a/s.xml>top.xml",
                                           "b/y & 'z'.png>c/y & 'z'.png", "b/keep.png>c/keep.png",
                                           "b/far.xml>c/far.xml",
                                           "b/y & 'z'.png.vxmeta>c/y & 'z'.png.vxmeta"));
    ExpectTrueStore();
}

TEST_F(RenameTest, SyncRenameSaysWhatFailed) {
    project.Touch("a.png", "b.png", "c.png", "a.png.vxmeta", "c.png.vxmeta");
    project.Write("s.xml", Scene("near", {"a.png"}));
    Scan();
    LogCapture log;
    EXPECT_FALSE(Sync("none.png", "new.png"));
    EXPECT_THAT(log.TakeTexts(), IsEmpty());
    EXPECT_FALSE(Sync("a.png", "b.png"));
    EXPECT_THAT(log.TakeTexts(),
                Contains(HasSubstr("Move file from " + project.Resource("a.png") + " to " +
                                   project.Resource("b.png") + "  failed： 0xb7!")));
    project.Remove("c.png");
    EXPECT_FALSE(Sync("a.png", "c.png"));
    EXPECT_THAT(log.TakeTexts(),
                Contains(HasSubstr("Move meta file from " + project.Resource("a.png.vxmeta") +
                                   " to " + project.Resource("c.png.vxmeta") + "  failed!")));
    EXPECT_TRUE(fs::exists(project.Resource("c.png"))) << "the file itself stays moved";
    EXPECT_EQ(project.Read("s.xml"), Scene("near", {"a.png"}));
}

TEST_F(RenameTest, FollowsWhatOthersMoved) {
    project.Touch("d/x.png", "other.png");
    project.Write("d/s.xml", Scene("near", {"x.png", "../other.png"}));
    project.Write("u.xml", Scene("far", {"d/x.png", "d/s.xml"}));
    Scan();
    Move("other.png", "else.png");
    EXPECT_TRUE(Manager().Rename("other.png", "else.png", false));
    EXPECT_EQ(project.Read("d/s.xml"), Scene("near", {"x.png", "../else.png"}));
    Move("d", "e");
    EXPECT_TRUE(Manager().RenameFolder(project.Resource("d"), project.Resource("e")));
    EXPECT_EQ(project.Read("e/s.xml"), Scene("near", {"x.png", "../else.png"}));
    EXPECT_EQ(project.Read("u.xml"), Scene("far", {"e/x.png", "e/s.xml"}));
    Move("u.xml", "v.xml");
    EXPECT_TRUE(Manager().Rename("u.xml", "v.xml", true));
    EXPECT_THAT(Users("e/x.png"), UnorderedElementsAre("e/s.xml", "v.xml"));
    project.Remove("e");
    EXPECT_TRUE(Manager().RenameFolder("e", "gone"));
    EXPECT_THAT(Users("else.png"), IsEmpty());
    ExpectTrueStore();
}

// A batch is mapped at once: names that are swapped are not swapped back, and who moves along is
// rewritten under the new name.
TEST_F(RenameTest, AnnouncedRenamesAreOneBatch) {
    project.Write("a.png", "A");
    project.Write("b.png", "B");
    project.Write("s.xml", Scene("near", {"a.png", "b.png"}));
    project.Write("t/u.xml", Scene("near", {"../a.png"}));
    project.Write("never.xml", Scene("near", {"b.png"}));
    Scan();
    Move("a.png", "tmp");
    Move("b.png", "a.png");
    Move("tmp", "b.png");
    Move("t/u.xml", "u.xml");
    Manager().SetReadyToChange({{"b.png", "a.png"}, {"t/u.xml", "u.xml"}, {"never.xml", "no.xml"}});
    EXPECT_TRUE(Manager().Rename("a.png", "b.png", false));
    EXPECT_EQ(project.Read("s.xml"), Scene("near", {"b.png", "a.png"}));
    EXPECT_EQ(project.Read("u.xml"), Scene("near", {"b.png"}));
    EXPECT_EQ(project.Read("never.xml"), Scene("near", {"a.png"}));
    ExpectTrueStore();
}

// The store keeps no list with such a name.
TEST_F(RenameTest, ReferencesToNamesWithASeparatorAreFoundInTheFiles) {
    project.Touch("t/x.png");
    project.Write("s.xml", Scene("near", {"t/x.png"}));
    project.Write("s#2.xml", Scene("near", {"t/x.png"}));
    Scan();
    ASSERT_TRUE(Sync("t/x.png", "t/x#1.png"));
    for (const char* scene : {"s.xml", "s#2.xml"})
        EXPECT_EQ(project.Read(scene), Scene("near", {"t/x#1.png"})) << scene;
    ASSERT_TRUE(Sync("t", "u"));
    ASSERT_TRUE(Sync("u/x#1.png", "x.png"));
    for (const char* scene : {"s.xml", "s#2.xml"})
        EXPECT_EQ(project.Read(scene), Scene("near", {"x.png"})) << scene;
    ExpectTrueStore();
}

TEST_F(RenameTest, ThePlanTellsEverythingAndAProblemStopsIt) {
    project.Touch("m/x.png", "y.png");
    project.Write("m/j.json", R"({"near": "x.png"})");
    project.Write("s.xml", "\n" + Scene("near", {"m/x.png", "m/j.json"}));
    Scan();
    RenamePlan plan;
    ASSERT_TRUE(Manager().MoveResource("m/j.json", "j.json", {true, {}}, plan));
    ASSERT_EQ(plan.edits.size(), 1U);
    EXPECT_EQ(plan.edits[0].newText, "j.json");
    EXPECT_EQ(plan.edits[0].line, 2U);
    ASSERT_EQ(plan.notRewritten.size(), 1U);
    EXPECT_EQ(plan.notRewritten[0].text, "x.png");
    EXPECT_TRUE(fs::exists(project.Resource("m/j.json")));

    for (const auto& [source, destination, reason] : std::vector<std::array<std::string, 3>>{
             {"y.png", "m/x.png", "exists already"},
             {"no.png", "z.png", "no such file"},
             {"y.png", "no/z.png", "no such folder"},
             {"m", "m/n", "into itself"},
             {"y.png", "../z.png", "not below the resource root"},
             {"", "z", "not below the resource root"}}) {
        RenamePlan refused;
        EXPECT_FALSE(Manager().MoveResource(source, destination, {}, refused));
        EXPECT_THAT(refused.problems, ElementsAre(HasSubstr(reason))) << source;
    }
    UndoReport report;
    EXPECT_FALSE(Manager().UndoRename({}, report));
    ExpectTrueStore();
}

}  // namespace
}  // namespace vexa::test
