#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "tests/support/Scan.h"
#include "vexa/common/FileService.h"
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
using testing::Not;
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
    List Edges(const std::string& key, Direction direction) {
        return GraphReader(GeneralDependency::Instance()).Edges(key, direction);
    }
    void WriteScenes(int count) {
        for (int i = 0; i < count; ++i) {
            project.Write("s/" + std::to_string(i) + ".xml", Naming("t.png"));
        }
    }
    List ProgressLines(LogCapture& log) {
        List lines;
        for (std::string& text : log.TakeTexts()) {
            if (text.find("Progress") != std::string::npos) lines.push_back(std::move(text));
        }
        return lines;
    }

    Project project{kRules};
};

TEST_F(ScannerTest, ReadsWhatIsNewOrChangedAndNothingElse) {
    project.Touch("t.png", "u.png");
    WriteScenes(20);
    ScanStatistics first = Scan();
    EXPECT_TRUE(first.complete);
    EXPECT_EQ(first.files, 22);
    EXPECT_EQ(first.regenerated, 20);
    EXPECT_EQ(first.references, 20);
    EXPECT_EQ(Manager().GetScanProgress(), 100);
    EXPECT_TRUE(Manager().IsScanningFinished());
    EXPECT_EQ(Edges("t.png", Direction::Inverse).size(), 20U);

    EXPECT_EQ(Scan().regenerated, 0) << "nothing changed";

    project.Write("s/7.xml", Naming("u.png") + " ");
    const ScanStatistics third = Scan();
    EXPECT_EQ(third.regenerated, 1);
    EXPECT_EQ(third.references, 20);
    EXPECT_THAT(Edges("u.png", Direction::Inverse), ElementsAre("s/7.xml"));
    EXPECT_THAT(Edges("t.png", Direction::Inverse), Not(Contains("s/7.xml")));
}

TEST_F(ScannerTest, ForgetsFilesThatAreGoneAndReadsThoseThatNamedThem) {
    project.Touch("t.png", "d/u.png");
    project.Write("one.xml", "<s><a f='t.png'/><a f='d/u.png'/></s>");
    project.Write("d/two.xml", Naming("t.png"));
    Scan();
    project.Remove("d");
    const ScanStatistics statistics = Scan();
    EXPECT_EQ(statistics.removed, 2);
    EXPECT_EQ(statistics.references, 1);
    EXPECT_THAT(Edges("one.xml", Direction::Forward), ElementsAre("t.png"));
    EXPECT_THAT(Edges("t.png", Direction::Inverse), ElementsAre("one.xml"));
    EXPECT_EQ(Scan().removed, 0);
}

TEST_F(ScannerTest, ChangedRulesAreAReasonToReadEverythingAgain) {
    project.Touch("t.png");
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
    EXPECT_EQ(Edges("t.png", Direction::Inverse).size(), 3U);
}

TEST_F(ScannerTest, LogsProgressInTenths) {
    struct Case {
        int files;
        List lines;
    };
    LogCapture log;
    WriteScenes(9);
    Scan();
    EXPECT_THAT(ProgressLines(log), IsEmpty()) << "fewer than ten files have no tenths";

    // The second scan counts the nine again beside its 25.
    project.Remove("s");
    WriteScenes(16);
    Scan();
    List expected;
    for (int threshold = 2; threshold <= 25; threshold += 2) {
        expected.push_back("Resource Dependency Scanning Progress " +
                           std::to_string((threshold + 1) * 100 / 25) + " % .");
    }
    EXPECT_EQ(ProgressLines(log), expected);
}

TEST_F(ScannerTest, AnEmptyTreeIsFinishedAtOnce) {
    LogCapture log;
    const ScanStatistics statistics = Scan();
    EXPECT_TRUE(statistics.complete);
    EXPECT_EQ(Manager().GetScanProgress(), 100);
    EXPECT_THAT(log.TakeTexts(), Contains("Resource Dependency Scanning Finished!"));
}

TEST_F(ScannerTest, BucketsHoldEveryFileOfEveryScan) {
    project.Touch("a.png", "b.PNG", "noextension", "d.ir/plain");
    WriteScenes(2);
    Scan();
    EXPECT_EQ(Manager().GetFileListBySuffix(".xml").size(), 2U);
    EXPECT_EQ(Manager().GetFileListBySuffix("").size(), 2U);
    EXPECT_THAT(Manager().GetFileListBySuffix(".never"), IsEmpty());
    Scan();
    EXPECT_EQ(Manager().GetFileListBySuffix(".xml").size(), 4U);
    const FileInfoData file = Manager().GetFileListBySuffix(".png").front();
    EXPECT_EQ(file.path, project.Root() + "/res\\a.png");
    EXPECT_EQ(file.timestamp,
              std::chrono::floor<std::chrono::seconds>(
                  std::chrono::file_clock::to_sys(fs::last_write_time(project.Resource("a.png")))
                      .time_since_epoch())
                  .count());
}

TEST_F(ScannerTest, LinksAndWriteProtectedFoldersAreNotDescended) {
    project.Touch("t.png");
    project.Write("real/one.xml", Naming("t.png"));
    project.Write("locked/two.xml", Naming("t.png"));
    fs::permissions(project.Resource("locked"), fs::perms::owner_write, fs::perm_options::remove);
    fs::create_directory_symlink(project.Resource(""), project.Resource("real/ring"));
    fs::create_symlink("../t.png", project.Resource("real/linked.png"));
    fs::create_symlink("nowhere", project.Resource("real/dangling.xml"));
    LogCapture log;
    const ScanStatistics statistics = Scan();
    EXPECT_TRUE(statistics.complete);
    EXPECT_THAT(log.TakeTexts(),
                AllOf(Contains(HasSubstr("res/locked")), Contains(HasSubstr("real/ring")),
                      Contains(HasSubstr("dangling.xml"))));
    EXPECT_THAT(Edges("t.png", Direction::Inverse), ElementsAre("real/one.xml"));
}

TEST_F(ScannerTest, NamesOfEveryKindAreKept) {
    const List names = {"with space.png",         "it's (1).png",  "\"quoted\".png",
                        "gr\xC3\xBC\xC3\x9F.png", "latin\xFC.png", "100%.PNG",
                        ".hidden/x.y.png"};
    std::string text = "<s>";
    for (const std::string& name : names) {
        project.Touch(name);
        std::string attribute = name;
        for (std::size_t at; (at = attribute.find('"')) != std::string::npos;) {
            attribute.replace(at, 1, "&quot;");
        }
        text += "<a f=\"" + attribute + "\"/>";
    }
    project.Write("all of them.xml", text + "</s>");
    project.Write("back\\slash.xml", text + "</s>");
    LogCapture log;
    Scan();
    EXPECT_THAT(log.TakeTexts(), Contains(HasSubstr("back\\slash.xml")));
    for (const std::string& name : names) {
        EXPECT_THAT(Edges(name, Direction::Inverse), ElementsAre("all of them.xml")) << name;
    }
}

TEST_F(ScannerTest, AnAwaitedFileIsAnnounced) {
    WriteScenes(5);
    SignalWait<CDependencyManager::WaitingFileScanFinished> awaited;
    Manager().SetWaitingFile("s\\3.xml");
    Scan();
    EXPECT_EQ(awaited.Count(), 1);
}

TEST_F(ScannerTest, ASecondRequestRunsAfterTheFirst) {
    WriteScenes(5);
    SignalWait<CDependencyManager::ScanFinished> finished;
    for (int i = 0; i < 3; ++i) Manager().BeginScan();
    finished.Until(3);
    EXPECT_EQ(Manager().GetFileListBySuffix(".xml").size(), 15U);
}

// A file service that calls back for every file that is read.
class ObservedFiles : public IFileService {
public:
    explicit ObservedFiles(std::function<void(const std::string&)> onRead)
        : m_onRead(std::move(onRead)), m_inner(InterfaceBox::Instance().ReplaceFileService(this)) {}
    ~ObservedFiles() override { InterfaceBox::Instance().ReplaceFileService(m_inner); }

    FilePtr ReadFile(const std::string& path) override {
        m_onRead(path);
        return m_inner->ReadFile(path);
    }
    bool FileExists(const std::string& path) override { return m_inner->FileExists(path); }
    FileState GetState(const std::string& path) override { return m_inner->GetState(path); }
    bool MakeRelative(const std::string& path, std::string& key) override {
        return m_inner->MakeRelative(path, key);
    }
    bool KeyOfReference(const std::string& text, std::string& key) override {
        return m_inner->KeyOfReference(text, key);
    }
    std::string AbsolutePath(const std::string& path) override {
        return m_inner->AbsolutePath(path);
    }
    bool NormalisePath(const char* path, char* buffer, std::size_t capacity) override {
        return m_inner->NormalisePath(path, buffer, capacity);
    }

private:
    std::function<void(const std::string&)> m_onRead;
    IFileService* m_inner;
};

TEST_F(ScannerTest, APausedScanKeepsWhatIsDoneAndPurgesNothing) {
    project.Touch("t.png");
    WriteScenes(30);
    Manager().GetDependencyGenerator("x.xml");
    std::atomic<int> reads{0};
    std::int64_t first = 0;
    {
        const ObservedFiles files([this, &reads](const std::string& path) {
            if (path.find(".xml") != std::string::npos && ++reads == 10) Manager().PauseScan();
        });
        const ScanStatistics paused = Scan();
        EXPECT_FALSE(paused.complete);
        first = paused.regenerated;
        EXPECT_LT(first, 30);
        EXPECT_FALSE(Manager().IsScanningFinished());
        EXPECT_LT(Manager().GetScanProgress(), 100);
    }
    EXPECT_EQ(Edges("t.png", Direction::Inverse).size(), static_cast<std::size_t>(first));
    EXPECT_EQ(Scan().regenerated, 30 - first);
    EXPECT_EQ(Edges("t.png", Direction::Inverse).size(), 30U);
}

TEST_F(ScannerTest, AFileThatVanishesBetweenWalkAndReadLosesNothingElse) {
    project.Touch("t.png");
    WriteScenes(3);
    Manager().GetDependencyGenerator("x.xml");
    {
        const ObservedFiles files([this](const std::string& path) {
            if (path.find("1.xml") != std::string::npos) project.Remove("s/1.xml");
        });
        EXPECT_TRUE(Scan().complete);
    }
    EXPECT_THAT(Edges("t.png", Direction::Inverse), ElementsAre("s/0.xml", "s/2.xml"));
    EXPECT_EQ(Scan().failed, 0) << "a file that is gone is no unreadable file";
}

TEST_F(ScannerTest, AFileWrittenWhileItIsReadIsReadAgain) {
    project.Touch("t.png", "u.png");
    project.Write("one.xml", Naming("t.png"));
    Manager().GetDependencyGenerator("x.xml");
    {
        bool written = false;
        const ObservedFiles files([&](const std::string& path) {
            if (path.find("one.xml") == std::string::npos || written) return;
            written = true;
            project.Write("one.xml", Naming("u.png") + "<!-- longer -->");
        });
        Scan();
    }
    Scan();
    EXPECT_THAT(Edges("one.xml", Direction::Forward), ElementsAre("u.png"));
}

TEST_F(ScannerTest, QueriesWhileAScanRunsAreRightAndLeaveItRight) {
    project.Touch("t.png");
    WriteScenes(200);
    SignalWait<CDependencyManager::ScanFinished> finished;
    std::atomic<bool> stop{false};
    Manager().BeginScan();
    std::thread asking([&] {
        for (int i = 0; !stop; i = (i + 7) % 200) {
            const std::string key = "s/" + std::to_string(i) + ".xml";
            EXPECT_THAT(Manager().GetDependency(key, false), ElementsAre("t.png")) << key;
            Manager().GetDependency("t.png", true);
        }
    });
    finished.Until(1);
    stop = true;
    asking.join();
    EXPECT_EQ(Edges("t.png", Direction::Inverse).size(), 200U);
    EXPECT_EQ(Scan().regenerated, 0);
}

// Gives root's rights up for its life: root may read everything.
class Unprivileged {
public:
    explicit Unprivileged(const std::string& directory) : m_root(::geteuid() == 0) {
        if (!m_root) return;
        constexpr uid_t kNobody = 65534;
        Own(directory, kNobody);
        for (const auto& entry : fs::recursive_directory_iterator(directory)) {
            Own(entry.path(), kNobody);
        }
        if (::seteuid(kNobody) != 0) throw std::runtime_error("cannot give root's rights up");
    }
    ~Unprivileged() {
        if (m_root && ::seteuid(0) != 0) std::abort();
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    static void Own(const fs::path& path, uid_t owner) {
        if (::lchown(path.c_str(), owner, static_cast<gid_t>(-1)) != 0) {
            throw std::runtime_error("cannot change the owner of " + path.string());
        }
    }
    bool m_root;
};

TEST_F(ScannerTest, AFolderThatCannotBeReadKeepsItsFilesInTheStore) {
    project.Touch("t.png");
    project.Write("open/one.xml", Naming("t.png"));
    project.Write("shut/two.xml", Naming("t.png"));
    Scan();
    const Unprivileged rights(project.Root());
    fs::permissions(project.Resource("shut"), fs::perms::owner_write);
    LogCapture log;
    const ScanStatistics statistics = Scan();
    EXPECT_EQ(statistics.unreadableFolders, 1);
    EXPECT_EQ(statistics.removed, 0);
    EXPECT_THAT(log.TakeTexts(),
                Contains(AllOf(HasSubstr("res/shut"), HasSubstr("Permission denied"))));
    EXPECT_THAT(Edges("t.png", Direction::Inverse), ElementsAre("open/one.xml", "shut/two.xml"));
    fs::permissions(project.Resource("shut"), fs::perms::owner_all);
}

}  // namespace
}  // namespace vexa::test
