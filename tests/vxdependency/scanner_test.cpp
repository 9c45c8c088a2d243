#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "tests/support/Scan.h"
#include "vexa/common/FileServiceLayer.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/scanner/DependencyScanner.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"

namespace fs = std::filesystem;

namespace vexa::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using vxdependency::Direction;
using vxdependency::GeneralDependency;
using vxdependency::GraphReader;
using List = std::vector<std::string>;

constexpr const char* kRules = R"({
    "animconfig": {"name_list": [{"element": "a", "attribute": "f", "strategy": 2}]},
    "xml": {"name_list": [{"element": "a", "attribute": "f", "strategy": 2}]}})";

std::string Naming(const std::string& key) {
    return "<s><a f=\"" + key + "\"/></s>";
}

class ScannerTest : public testing::Test {
protected:
    CDependencyManager& Manager() { return CDependencyManager::GetSingleton(); }
    List References(const std::string& key) {
        return GraphReader(GeneralDependency::Instance()).Edges(key, Direction::Forward);
    }
    List Users(const std::string& key) {
        return GraphReader(GeneralDependency::Instance()).Edges(key, Direction::Inverse);
    }
    std::size_t FilesWith(const std::string& suffix) {
        return Manager().GetFileListBySuffix(suffix).size();
    }
    // Scenes s/0.xml, s/1.xml... that name t.png.
    void WriteScenes(int count) {
        project.Touch("t.png");
        for (int i = 0; i < count; ++i) {
            project.Write("s/" + std::to_string(i) + ".xml", Naming("t.png"));
        }
    }

    Project project{kRules};
};

TEST_F(ScannerTest, ChangedRulesAreAReasonToReadEverythingAgain) {
    WriteScenes(3);
    Scan();
    std::ofstream(project.XmlConfig()) << R"({"xml": {"name_list": [
        {"element": "other", "attribute": "f", "strategy": 2}]}} )";
    // The generators of this process keep the rules that they were made with, so it is the store
    // alone that shows that everything was read anew.
    EXPECT_EQ(Scan().regenerated, 3);
    EXPECT_EQ(Scan().regenerated, 0);

    std::ofstream(project.XmlConfig()) << "{ broken";
    EXPECT_EQ(Scan().regenerated, 0) << "a broken file empties no store";
    EXPECT_THAT(Users("t.png"), SizeIs(3));
}

TEST_F(ScannerTest, LogsProgressInTenths) {
    WriteScenes(24);
    LogCapture log;
    Scan();
    List expected;
    for (int threshold = 2; threshold <= 25; threshold += 2)
        expected.push_back("Resource Dependency Scanning Progress " +
                           std::to_string((threshold + 1) * 100 / 25) + " % .");
    expected.push_back("Resource Dependency Scanning Finished!");
    EXPECT_EQ(log.TakeTexts(), expected);
}

TEST_F(ScannerTest, BucketsHoldEveryFileOfEveryScan) {
    project.Touch("a.png", "b.PNG", "noextension", "d.ir/plain");
    project.Write("one.xml", Naming("a.png"));
    Scan();
    EXPECT_EQ(FilesWith(".xml"), 1U);
    EXPECT_EQ(FilesWith(""), 2U);
    EXPECT_EQ(FilesWith(".never"), 0U);
    Scan();
    EXPECT_EQ(FilesWith(".xml"), 2U);
    const FileInfoData file = Manager().GetFileListBySuffix(".png").front();
    EXPECT_EQ(file.path, project.Root() + "/res\\a.png");
    const auto time =
        std::chrono::file_clock::to_sys(fs::last_write_time(project.Resource("a.png")));
    EXPECT_EQ(file.timestamp,
              std::chrono::floor<std::chrono::seconds>(time.time_since_epoch()).count());
}

TEST_F(ScannerTest, LinksAndWriteProtectedFoldersAreNotDescended) {
    project.Touch("t.png");
    project.Write("real/one.xml", Naming("t.png"));
    project.Write("locked/two.xml", Naming("t.png"));
    fs::permissions(project.Resource("locked"), fs::perms::owner_write, fs::perm_options::remove);
    fs::create_directory_symlink(project.Resource(""), project.Resource("real/ring"));
    fs::create_symlink("nowhere", project.Resource("real/dangling.xml"));
    LogCapture log;
    EXPECT_TRUE(Scan().complete);
    EXPECT_THAT(log.TakeTexts(),
                AllOf(Contains(HasSubstr("res/locked")), Contains(HasSubstr("real/ring")),
                      Contains(HasSubstr("dangling.xml"))));
    EXPECT_THAT(Users("t.png"), ElementsAre("real/one.xml"));
}

TEST_F(ScannerTest, NamesOfEveryKindAreKept) {
    const std::pair<const char*, const char*> names[] = {
        // on disk, in XML
        {"\"quoted\" (1).png", "&quot;quoted&quot; (1).png"},
        {"gr\xC3\xBC\xC3\x9F.png", "gr&#xFC;\xC3\x9F.png"},
        {"latin\xFC.png", "latin\xFC.png"},
        {".hidden/100%.y.PNG", ".hidden/100%.y.PNG"}};
    std::string text;
    for (const auto& [name, attribute] : names) {
        project.Touch(name);
        text += Naming(attribute);
    }
    project.Write("all of them.xml", text);
    project.Write("back\\slash.xml", text);
    LogCapture log;
    Scan();
    EXPECT_THAT(log.TakeTexts(), Contains(HasSubstr("back\\slash.xml")));
    for (const auto& [name, attribute] : names)
        EXPECT_THAT(Users(name), ElementsAre("all of them.xml")) << name;
}

TEST_F(ScannerTest, RequestsRunOneAfterAnotherAndAnAwaitedFileIsAnnounced) {
    WriteScenes(5);
    SignalWait<CDependencyManager::WaitingFileScanFinished> awaited;
    Manager().SetWaitingFile("s\\3.xml");
    Scan();
    EXPECT_EQ(awaited.Count(), 1);
    SignalWait<CDependencyManager::ScanFinished> finished;
    for (int i = 0; i < 3; ++i) Manager().BeginScan();
    finished.Until(3);
    EXPECT_EQ(FilesWith(".xml"), 20U);
}

// A file service that calls back for every file that is read.
class ObservedFiles : public FileServiceLayer {
public:
    explicit ObservedFiles(std::function<void(const std::string&)> onRead)
        : FileServiceLayer(*InterfaceBox::Instance().ReplaceFileService(this)),
          m_onRead(std::move(onRead)) {}
    ~ObservedFiles() override { InterfaceBox::Instance().ReplaceFileService(&Below()); }

    FilePtr ReadFile(const std::string& path) override {
        m_onRead(path);
        return Below().ReadFile(path);
    }

private:
    std::function<void(const std::string&)> m_onRead;
};

// Scans while something happens whenever a file is about to be read whose path ends in `ending`.
ScanStatistics ScanWhile(const std::string& ending, const std::function<void()>& happening) {
    CDependencyManager::GetSingleton().GetDependencyGenerator("x.xml");  // reads the rules
    const ObservedFiles files([&](const std::string& path) {
        if (path.ends_with(ending)) happening();
    });
    return Scan();
}

TEST_F(ScannerTest, APausedScanKeepsWhatIsDoneAndPurgesNothing) {
    WriteScenes(30);
    std::atomic<int> reads{0};
    const ScanStatistics paused = ScanWhile(".xml", [&] {
        if (++reads == 10) Manager().PauseScan();
    });
    EXPECT_FALSE(paused.complete);
    EXPECT_LT(paused.regenerated, 30);
    EXPECT_FALSE(Manager().IsScanningFinished());
    EXPECT_LT(Manager().GetScanProgress(), 100);
    EXPECT_THAT(Users("t.png"), SizeIs(paused.regenerated));
    EXPECT_EQ(Scan().regenerated, 30 - paused.regenerated);
    EXPECT_THAT(Users("t.png"), SizeIs(30));
}

TEST_F(ScannerTest, AFileThatVanishesBetweenWalkAndReadLosesNothingElse) {
    WriteScenes(3);
    EXPECT_TRUE(ScanWhile("1.xml", [&] { project.Remove("s/1.xml"); }).complete);
    EXPECT_THAT(Users("t.png"), ElementsAre("s/0.xml", "s/2.xml"));
    EXPECT_EQ(Scan().failed, 0) << "a file that is gone is no unreadable file";
}

TEST_F(ScannerTest, QueriesWhileAScanRunsAreRightAndLeaveItRight) {
    WriteScenes(200);
    SignalWait<CDependencyManager::ScanFinished> finished;
    Manager().BeginScan();
    {
        const std::jthread asking([this](const std::stop_token& stop) {
            for (int i = 0; !stop.stop_requested(); i = (i + 7) % 200) {
                const std::string key = "s/" + std::to_string(i) + ".xml";
                EXPECT_THAT(Manager().GetDependency(key, false), ElementsAre("t.png")) << key;
                Manager().GetDependency("t.png", true);
            }
        });
        finished.Until(1);
    }
    EXPECT_THAT(Users("t.png"), SizeIs(200));
    EXPECT_EQ(Scan().regenerated, 0);
}

TEST_F(ScannerTest, AFileWrittenWhileItIsReadIsReadAgain) {
    project.Touch("t.png", "u.png");
    project.Write("one.xml", Naming("t.png"));
    ScanWhile("one.xml", [&] { project.Write("one.xml", Naming("u.png") + "<!-- longer -->"); });
    Scan();
    EXPECT_THAT(References("one.xml"), ElementsAre("u.png"));
}

TEST_F(ScannerTest, AFolderThatCannotBeReadKeepsItsFilesInTheStore) {
    project.Touch("t.png", "shutter.png");
    project.Write("open/one.xml", Naming("t.png"));
    project.Write("shut/two.xml", Naming("t.png"));
    Scan();
    project.Remove("shutter.png");
    // Root may read everything; for others the rest of the tree is to stay usable.
    fs::permissions(project.Root(), fs::perms::all);
    for (const auto& entry : fs::recursive_directory_iterator(project.Root()))
        fs::permissions(entry, fs::perms::all);
    fs::permissions(project.Resource("shut"), fs::perms::owner_write);
    const uid_t user = ::geteuid();
    ASSERT_EQ(::seteuid(user == 0 ? 65534 : user), 0);
    LogCapture log;
    const ScanStatistics statistics = Scan();
    ASSERT_EQ(::seteuid(user), 0);
    fs::permissions(project.Resource("shut"), fs::perms::all);
    EXPECT_EQ(statistics.unreadableFolders, 1);
    EXPECT_EQ(statistics.removed, 1) << "the picture beside the folder";
    EXPECT_THAT(log.TakeTexts(),
                Contains(AllOf(HasSubstr("res/shut"), HasSubstr("Permission denied"))));
    EXPECT_THAT(Users("t.png"), ElementsAre("open/one.xml", "shut/two.xml"));
}

}  // namespace
}  // namespace vexa::test
