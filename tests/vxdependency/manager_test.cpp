#include <gmock/gmock.h>

#include <filesystem>
#include <stdexcept>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "tests/support/Scan.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/manager/DependencyManager.h"
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

// Scenes name things relative to their folder (near) and to the resource root (far).
constexpr const char* kRules = R"({"xml": {"name_list": [
    {"element": "near", "attribute": "file", "strategy": 1},
    {"element": "far", "attribute": "file", "strategy": 2}]}})";

std::string Scene(const List& far) {
    std::string text = "<scene>";
    for (const std::string& file : far) text += "<far file=\"" + file + "\"/>";
    return text + "</scene>";
}

class ManagerTest : public testing::Test {
protected:
    CDependencyManager& Manager() { return CDependencyManager::GetSingleton(); }
    List References(const std::string& key) { return Manager().GetDependency(key, false); }
    List Users(const std::string& key) { return Manager().GetDependency(key, true); }
    List Edges(const std::string& key, Direction direction) {
        return GraphReader(GeneralDependency::Instance()).Edges(key, direction);
    }
    // Writes a scene and gives it a time of its own, later than any before.
    void WriteScene(const std::string& key, const List& far) {
        project.Write(key, Scene(far));
        static int writes = 0;
        fs::last_write_time(project.Resource(key),
                            fs::file_time_type::clock::now() + std::chrono::seconds(++writes));
    }

    Project project{kRules};
};

TEST_F(ManagerTest, AnswersInBothDirectionsAndFollowsEdits) {
    project.Touch("a.png", "b.png", "c.png");
    WriteScene("s/one.xml", {"a.png", "b.png", "missing.png", "a.png"});
    EXPECT_THAT(Manager().GenerateDependency("s/one.xml", ""), ElementsAre("a.png", "b.png"));
    EXPECT_THAT(Users("a.png"), ElementsAre("s/one.xml"));

    WriteScene("s/one.xml", {"b.png", "c.png"});
    EXPECT_THAT(Users("a.png"), ElementsAre("s/one.xml")) << "nobody has asked for the edited file";
    EXPECT_THAT(References("s/one.xml"), ElementsAre("b.png", "c.png"));
    EXPECT_THAT(Users("a.png"), IsEmpty());
    EXPECT_THAT(Users("c.png"), ElementsAre("s/one.xml"));

    WriteScene("s/one.xml", {});
    EXPECT_THAT(References("s/one.xml"), ElementsAre("b.png", "c.png"))
        << "who lost the last reference keeps the list, but has no edges";
    EXPECT_THAT(Users("b.png"), IsEmpty());
    EXPECT_THAT(Edges("s/one.xml", Direction::Forward), IsEmpty());
}

TEST_F(ManagerTest, AChangeWithinOneSecondIsAChange) {
    project.Touch("a.png", "b.png");
    const fs::file_time_type second{std::chrono::seconds(1'000'000)};
    const auto write = [&](const std::string& far, std::chrono::milliseconds after) {
        project.Write("one.xml", Scene({far}));
        fs::last_write_time(project.Resource("one.xml"), second + after);
    };
    write("a.png", std::chrono::milliseconds(0));
    References("one.xml");
    write("b.png", std::chrono::milliseconds(1));
    EXPECT_THAT(References("one.xml"), ElementsAre("b.png"));
}

TEST_F(ManagerTest, EverySpellingOfAPathIsOneResource) {
    project.Touch("tex/a.png");
    project.Write("s/one.xml", R"(<s><near file="..\tex\.\a.png"/><far file="/tex//a.png"/>
                                     <near file="../s/../tex/a.png"/></s>)");
    for (const std::string& spelling : {std::string("s\\one.xml"), std::string("./s//x/../one.xml"),
                                        project.Root() + "\\res\\s\\one.xml"}) {
        EXPECT_THAT(Manager().GenerateDependency(spelling, ""), ElementsAre("tex/a.png"))
            << spelling;
    }
    EXPECT_THAT(Users("tex\\a.png"), ElementsAre("s/one.xml"));
}

TEST_F(ManagerTest, APathWithoutAKeyGivesNothingAndOneLogLine) {
    LogCapture log;
    for (const std::string& path :
         {std::string("../outside.xml"), std::string("/etc/passwd"), std::string(261, 'a')}) {
        EXPECT_THAT(References(path), IsEmpty());
        EXPECT_THAT(log.TakeTexts(), ElementsAre(HasSubstr(path)));
        EXPECT_FALSE(Manager().Remove(path));
        log.Take();
    }
}

TEST_F(ManagerTest, NamesWithANumberSignAreLeftOutWithAWarning) {
    project.Touch("a#b.png", "a.png", "b.png");
    project.Write("one.xml", R"(<s><far file="a#b.png"/><far file="a.png"/></s>)");
    project.Write("t#wo.xml", R"(<s><far file="a.png"/></s>)");
    LogCapture log;
    EXPECT_THAT(Manager().GenerateDependency("one.xml", ""), ElementsAre("a.png"));
    EXPECT_THAT(log.TakeTexts(), ElementsAre(AllOf(HasSubstr("one.xml"), HasSubstr("a#b.png"))));
    EXPECT_THAT(Manager().GenerateDependency("t#wo.xml", ""), IsEmpty());
    EXPECT_THAT(log.TakeTexts(), ElementsAre(HasSubstr("t#wo.xml")));
    EXPECT_THAT(Users("a.png"), ElementsAre("one.xml"));
}

TEST_F(ManagerTest, UnreadableFilesHaveNoReferencesAndAreNotReadAgain) {
    project.Touch("a.png");
    project.Write("broken.xml", R"(<s><far file="a.png"/><open></s>)");
    LogCapture log;
    EXPECT_TRUE(Manager().Regenerate("broken.xml", "").failed);
    EXPECT_THAT(log.TakeTexts(), ElementsAre(HasSubstr("broken.xml")));
    EXPECT_THAT(References("broken.xml"), IsEmpty());
    EXPECT_THAT(log.TakeTexts(), IsEmpty()) << "it is stamped, so it is not read again";
}

TEST_F(ManagerTest, ARenamedFileLeavesTheInverseListsUnderItsOldName) {
    project.Touch("a.png", "b.png");
    WriteScene("old.xml", {"a.png"});
    Manager().GenerateDependency("old.xml", "");
    fs::rename(project.Resource("old.xml"), project.Resource("new.xml"));
    EXPECT_THAT(Manager().GenerateDependency("new.xml", "old.xml"), ElementsAre("a.png"));
    EXPECT_THAT(Users("a.png"), ElementsAre("new.xml"));
}

TEST_F(ManagerTest, AnEntryThatEndsAnotherIsTakenOutAllTheSame) {
    project.Touch("t.png");
    for (const char* scene : {"s/b.xml", "b.xml"}) {
        WriteScene(scene, {"t.png"});
        Manager().GenerateDependency(scene, "");
    }
    WriteScene("b.xml", {});
    Manager().GenerateDependency("b.xml", "");
    EXPECT_THAT(Users("t.png"), ElementsAre("s/b.xml"));
}

TEST_F(ManagerTest, RemoveDropsAFilesRecordsAndReadsItsDependentsAgain) {
    project.Touch("a.png", "d/b.png");
    WriteScene("one.xml", {"a.png", "d/b.png"});
    WriteScene("d/two.xml", {"a.png", "one.xml"});
    EXPECT_EQ(Scan().regenerated, 2);

    project.Remove("d");
    EXPECT_TRUE(Manager().Remove("d"));
    EXPECT_THAT(References("one.xml"), ElementsAre("a.png"));
    EXPECT_THAT(Edges("a.png", Direction::Inverse), ElementsAre("one.xml"));
    EXPECT_THAT(Edges("one.xml", Direction::Inverse), IsEmpty());
    EXPECT_THAT(Edges("d/b.png", Direction::Inverse), IsEmpty());
}

TEST_F(ManagerTest, WalksTheGraphOnceHoweverItIsTied) {
    project.Touch("a.png");
    WriteScene("x.xml", {"y.xml", "z.xml"});
    WriteScene("y.xml", {"x.xml", "z.xml", "a.png"});
    WriteScene("z.xml", {"z.xml", "y.xml"});
    List existing;
    List missing;
    Manager().GetAllDependency("x.xml", existing, missing);
    EXPECT_THAT(existing, ElementsAre("y.xml", "z.xml", "a.png"));
    EXPECT_THAT(missing, IsEmpty());

    // An entry whose file has gone since its referrer was read is told apart.
    project.Remove("a.png");
    existing.clear();
    Manager().GetAllDependency("x.xml", existing, missing);
    EXPECT_THAT(existing, ElementsAre("y.xml", "z.xml"));
    EXPECT_THAT(missing, ElementsAre("a.png"));
}

TEST_F(ManagerTest, DispatchGoesByTheTextAfterTheLastDot) {
    CDependencyBase* const xml = Manager().GetDependencyGenerator("a/b.xml");
    ASSERT_NE(xml, nullptr);
    for (const char* path : {"x.y.xml", "xml", ".xml"})
        EXPECT_EQ(Manager().GetDependencyGenerator(path), xml) << path;
    for (const char* path : {"a.XML", "a", "a.", "", "a.xml/b"})
        EXPECT_EQ(Manager().GetDependencyGenerator(path), nullptr) << path;
}

TEST_F(ManagerTest, AFurtherManagerSharesStoreAndGenerators) {
    project.Touch("a.png");
    WriteScene("one.xml", {"a.png"});
    Manager().GenerateDependency("one.xml", "");
    CDependencyBase* const generator = Manager().GetDependencyGenerator("b.xml");
    {
        CDependencyManager second;
        EXPECT_EQ(second.GetDependencyGenerator("a.xml"), generator);
        EXPECT_THAT(second.GetDependency("a.png", true), ElementsAre("one.xml"));
    }
    EXPECT_EQ(Manager().GetDependencyGenerator("a.xml"), generator);
    EXPECT_THAT(Users("a.png"), ElementsAre("one.xml")) << "the store stays open";
}

TEST(ManagerStart, WithoutAConfigurationFileThereIsNoScanner) {
    const Project project;
    fs::remove(project.JsonConfig());
    CDependencyManager& manager = CDependencyManager::GetSingleton();
    EXPECT_THAT(manager.GetStartError(), HasSubstr(project.JsonConfig()));
    manager.BeginScan();
    manager.PauseScan();
    manager.BeginMonitor();
    manager.SetWaitingFile("x.xml");
    EXPECT_FALSE(manager.IsScanningFinished());
    EXPECT_EQ(manager.GetScanProgress() + manager.GetScanElapsedSecond(), 0);
    EXPECT_THAT(manager.GetFileListBySuffix(".xml"), IsEmpty());
}

TEST(ManagerStart, AStoreThatCannotBeOpenedIsToldByName) {
    const Project project;
    project.Directory().Write("temp", "a file where the store's folder should be");
    CDependencyManager& manager = CDependencyManager::GetSingleton();
    EXPECT_EQ(manager.GetScanner(), nullptr);
    EXPECT_THAT(manager.GetStartError(), HasSubstr(project.Root() + "/temp"));
    EXPECT_THAT(manager.GetDependency("x.xml", false), IsEmpty());
}

TEST(ManagerStart, ARuleThatIsTooShortFailsOnceAndKeepsTheGeneratorsBeforeIt) {
    const Project project(R"({"one": {}, "two": {"name_list": [{"element": "e"}]}, "three": {}})");
    CDependencyManager& manager = CDependencyManager::GetSingleton();
    LogCapture log;
    EXPECT_THAT([&] { manager.GetDependencyGenerator("a.one"); },
                testing::ThrowsMessage<std::out_of_range>("invalid vector subscript"));
    EXPECT_THAT(log.TakeTexts(), Contains(HasSubstr(project.XmlConfig())));
    EXPECT_NE(manager.GetDependencyGenerator("a.one"), nullptr);
    EXPECT_EQ(manager.GetDependencyGenerator("a.three"), nullptr);
}

TEST(ManagerPaths, CopiesAndConvertsWithinThePlatformsLimit) {
    const Project project;
    CDependencyManager& manager = CDependencyManager::GetSingleton();
    LogCapture log;
    char buffer[261];
    EXPECT_TRUE(manager.SafeCopy(buffer, 260, std::string(260, 'x').c_str()));
    EXPECT_EQ(std::string(buffer).size(), 260U);
    EXPECT_FALSE(manager.SafeCopy(buffer, 260, std::string(261, 'y').c_str()));
    EXPECT_THAT(log.TakeTexts(), ElementsAre("Path Name Too Long:" + std::string(261, 'y')));

    const std::string root = project.Root() + "/res";
    const struct {
        std::string input, relative, absolute;  // "" where it is refused
    } cases[] = {
        {"a/b.x", "a/b.x", root + "/a/b.x"},
        {"./a//c\\../b.x", "a/b.x", root + "/a/b.x"},
        {root + "\\a/b.x", "a/b.x", root + "\\a/b.x"},
        {root + "x/b", "", root + "x/b"},
        {"/elsewhere/b", "", "/elsewhere/b"},
        {"a/../../b", "", ""},
        {std::string(261, 'z'), "", ""},
    };
    for (const auto& [input, relative, absolute] : cases) {
        char out[261] = "";
        EXPECT_EQ(manager.MakeRelativePath(out, input.c_str()), !relative.empty()) << input;
        EXPECT_EQ(out, relative) << input;
        *out = '\0';
        EXPECT_EQ(manager.MakeAbsolutePath(out, input.c_str()), !absolute.empty()) << input;
        EXPECT_EQ(out, absolute) << input;
    }
    EXPECT_EQ(manager.MakeRelativeToResPath("a\\b\\c.x", "a/b/"), "c.x");
    EXPECT_EQ(manager.MakeRelativeToResPath("a/b/c.x", "a/d"), "../b/c.x");
    EXPECT_EQ(manager.MakeRelativeToResPath("../x", "a"), "");
}

}  // namespace
}  // namespace vexa::test
