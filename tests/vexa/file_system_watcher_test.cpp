#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <thread>

#include "tests/support/TempDir.h"
#include "vexa/io/ChangeQueue.h"
#include "vexa/io/FileSystemWatcher.h"

namespace fs = std::filesystem;

namespace vexa::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using vxio::ChangeQueue;
using vxio::DirectoryChangeParam;
using vxio::FileSystemWatcher;
using Backend = FileSystemWatcher::Backend;
using Texts = std::vector<std::string>;

// "+a" added, "-a" removed, "*a" modified, "a>b" renamed.
Texts InWords(const std::vector<DirectoryChangeParam>& changes) {
    static const char* const kMarks[] = {"+", "-", "*", ""};
    Texts texts;
    for (const DirectoryChangeParam& change : changes) {
        if (change.action == vxio::ChangeAction::NewName) {
            texts.back() += ">" + change.name;
        } else {
            texts.push_back(kMarks[change.action] + change.name);
        }
    }
    return texts;
}

// What is below a folder, as whoever follows it should know it: contents of files and links, "/" of
// folders that are descended into.
using Tree = std::map<std::string, std::string>;

void ReadInto(const fs::path& path, const std::string& name, Tree& tree) {
    std::error_code ignored;
    const fs::file_status status = fs::symlink_status(path, ignored);
    if (!fs::exists(status)) return;
    const bool writable = (status.permissions() & fs::perms::owner_write) != fs::perms::none;
    const bool descended = status.type() == fs::file_type::directory && writable;
    std::ifstream file(path);
    std::string content(descended ? "/" : "");
    if (fs::is_regular_file(path, ignored))
        content.assign(std::istreambuf_iterator<char>(file), {});
    if (!name.empty()) tree[name] = content;
    if (!descended) return;
    for (const auto& entry : fs::directory_iterator(path)) {
        const std::string below = entry.path().filename().string();
        ReadInto(entry.path(), name.empty() ? below : name + "/" + below, tree);
    }
}

class WatcherTest : public testing::TestWithParam<Backend> {
protected:
    WatcherTest() {
        directory.MakeDir("tree");
        watcher.UseBackend(GetParam());
        watcher.WatchDirectory(root);
    }
    void Arm() { ASSERT_TRUE(watcher.Arm()); }
    std::string Path(const std::string& name) const { return root + "/" + name; }
    void Write(const std::string& name, const std::string& content) {
        directory.Write("tree/" + name, content);
    }
    void Move(const std::string& from, const std::string& to) { fs::rename(Path(from), Path(to)); }

    std::vector<DirectoryChangeParam> Changes() {
        EXPECT_TRUE(watcher.CatchUp(std::chrono::minutes(1)));
        std::vector<DirectoryChangeParam> changes;
        watcher.ReadChanges(changes);
        return changes;
    }
    Texts Told() { return InWords(Changes()); }

    // Looks at whatever is told, and at nothing else.
    void Follow() {
        for (const DirectoryChangeParam& change : Changes()) {
            std::string name = change.name;
            std::ranges::replace(name, '\\', '/');
            std::erase_if(known, [&name](const auto& entry) {
                return entry.first == name || entry.first.starts_with(name + "/");
            });
            // Nothing is looked at in a folder that is itself not looked at.
            const std::string parent = fs::path(name).parent_path().string();
            const auto above = known.find(parent);
            const bool descended = above != known.end() && above->second == "/";
            if (parent.empty() || descended) ReadInto(Path(name), name, known);
        }
    }
    Tree OnDisk() const {
        Tree tree;
        ReadInto(root, "", tree);
        return tree;
    }
    void Change(std::mt19937& random);

    TempDir directory;
    const std::string root = directory.Path("tree");
    Tree known;
    FileSystemWatcher watcher;
};

INSTANTIATE_TEST_SUITE_P(Backends, WatcherTest,
                         testing::Values(Backend::Notifications, Backend::Polling),
                         [](const auto& backend) {
                             return backend.param == Backend::Polling ? "Polling" : "Notifications";
                         });

TEST_P(WatcherTest, TellsEachChangeOnce) {
    Write("old/deep/file", "1");
    Write("other/file", "2");
    directory.Write("outside/folder/file", "3");
    Arm();
    EXPECT_THAT(Told(), IsEmpty()) << "what was there before is no change";
    struct Step {
        const char* what;
        std::function<void()> change;
        Texts told;
    };
    const Step steps[] = {
        {"a new file", [&] { Write("a", "1"); }, {"+a"}},
        {"its change", [&] { Write("a", "12"); }, {"*a"}},
        {"its renaming", [&] { Move("a", "b"); }, {"a>b"}},
        {"into another folder", [&] { Move("b", "old/b"); }, {"b>old\\b"}},
        {"a folder's", [&] { Move("old", "new"); }, {"old>new"}},
        {"a change below that", [&] { Write("new/deep/file", "123"); }, {"*new\\deep\\file"}},
        {"a folder into another",
         [&] { Move("new/deep", "other/deep"); },
         {"new\\deep>other\\deep"}},
        {"one file over another",
         [&] { Move("other/deep/file", "other/file"); },
         {"other\\deep\\file>other\\file"}},
        {"cut", [&] { fs::resize_file(Path("other/file"), 1); }, {"*other\\file"}},
        {"out", [&] { Move("new", "../new"); }, {"-new"}},
        {"in", [&] { Move("../outside/folder", "in"); }, {"+in"}},
        {"below that", [&] { Write("in/file", ""); }, {"*in\\file"}},
        {"a link", [&] { fs::create_symlink("in/file", Path("link")); }, {"+link"}},
        {"what it leads to", [&] { Write("in/file", "4"); }, {"*in\\file", "*link"}},
        {"its removal", [&] { fs::remove(Path("link")); }, {"-link"}},
        {"a protected folder", [&] { fs::permissions(Path("in"), fs::perms(0555)); }, {"*in"}},
        {"a ring",
         [&] { fs::create_directory_symlink("..", Path("other/ring")); },
         {"+other\\ring"}},
        {"a second name",
         [&] { fs::create_hard_link(Path("other/file"), Path("hard")); },
         {"+hard"}},
        {"back\\slash", [&] { Write("back\\slash", ""); }, {}},
    };
    for (const Step& step : steps) {
        step.change();
        Texts told = Told();
        // A protected folder's files are no longer known of; polling tells that file by file.
        std::erase(told, "-in\\file");
        EXPECT_EQ(told, step.told) << step.what;
    }
    EXPECT_EQ(watcher.TakeLoss(), "");
}

TEST_P(WatcherTest, MergesWhatASaveDoes) {
    Write("scene", "1");
    Arm();
    for (int i = 0; i < 100; ++i) Write("scene", std::string(static_cast<std::size_t>(i), 'x'));
    EXPECT_THAT(Told(), ElementsAre("*scene"));

    Move("scene", "scene~");
    Move("scene~", "scene2");
    Move("scene2", "scene3");
    EXPECT_THAT(Told(), Contains("scene>scene3"));
    Move("scene3", "scene");
    Move("scene", "scene3");
    EXPECT_THAT(Told(), Each(Not(HasSubstr(">")))) << "it is where it was";
}

TEST_P(WatcherTest, FindsWhatIsInFoldersThatJustCameToBe) {
    Arm();
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([this, writer] {
            for (int i = 0; i < 100; ++i) {
                const std::string folder = std::to_string(i % 7) + "/" + std::to_string(writer) +
                                           "/" + std::to_string(i) + "/a/b/c";
                Write(folder + "/file", folder);
                Write(folder + "/../file", "1");
            }
        });
    }
    Follow();
    for (std::thread& writer : writers) writer.join();
    Follow();
    EXPECT_EQ(known, OnDisk());
}

void WatcherTest::Change(std::mt19937& random) {
    static const Texts names = {"a", "b", "c", "a/a", "a/b", "b/a", "b/c", "a/a/b", "b/a/c", "c/c"};
    const std::string one = Path(names[random() % names.size()]);
    const std::string two = Path(names[random() % names.size()]);
    std::error_code ignored;
    switch (random() % 9) {
        case 0:
        case 1:
            fs::create_directories(one, ignored);
            break;
        case 2:
        case 3:
        case 4:
            std::ofstream(one) << std::string(random() % 10000, 'x');
            break;
        case 5:
        case 6:
            fs::rename(one, two, ignored);
            break;
        case 7:
            fs::remove_all(one, ignored);
            break;
        case 8:
            if (random() % 2 == 0) {
                fs::create_symlink(fs::relative(two, fs::path(one).parent_path(), ignored), one,
                                   ignored);
            } else {
                fs::permissions(one, fs::perms(random() % 4 == 0 ? 0555 : 0755), ignored);
            }
            break;
    }
}

TEST_P(WatcherTest, WhoeverFollowsRandomChangesKnowsTheTree) {
    Arm();
    for (unsigned seed = 0; seed < 5; ++seed) {
        std::mt19937 random(seed);
        for (int round = 0; round < 10; ++round) {
            for (int i = 0; i < 30; ++i) Change(random);
            Follow();
            ASSERT_EQ(known, OnDisk()) << "seed " << seed << ", round " << round;
        }
    }
    EXPECT_EQ(watcher.TakeLoss(), "");
}

TEST_P(WatcherTest, AMoveIntoAFolderThatWasJustMadeIsAMove) {
    Write("file", "");
    Write("folder/below", "");
    Arm();
    for (int i = 0; i < 20; ++i) {
        const std::string folder = "new" + std::to_string(i);
        fs::create_directories(Path(folder));
        Move("file", folder + "/file");
        Move("folder", folder + "/folder");
        const Texts told = Told();
        EXPECT_THAT(told, Contains("file>" + folder + "\\file")) << i;
        EXPECT_THAT(told, Contains("folder>" + folder + "\\folder")) << i;
        Move(folder + "/file", "file");
        Move(folder + "/folder", "folder");
        Told();
    }
}

TEST(FileSystemWatcher, TellsAFileWhenItsWriterHasClosedIt) {
    const TempDir directory;
    FileSystemWatcher watcher;
    watcher.WatchDirectory(directory.Path());
    ASSERT_TRUE(watcher.Arm());
    std::ofstream file(directory.Path("file"));
    file << "half" << std::flush;
    directory.Write("marker", "");
    EXPECT_FALSE(watcher.CatchUp(std::chrono::milliseconds(200))) << "half a file";
    std::vector<DirectoryChangeParam> changes;
    watcher.ReadChanges(changes);
    EXPECT_THAT(InWords(changes), ElementsAre("+marker"));
    file.close();
    EXPECT_TRUE(watcher.CatchUp(std::chrono::minutes(1)));
    changes.clear();
    watcher.ReadChanges(changes);
    EXPECT_THAT(InWords(changes), ElementsAre("+file"));
}

TEST(FileSystemWatcher, SaysWhenADirectoryIsNotThere) {
    const TempDir directory;
    FileSystemWatcher watcher;
    watcher.WatchDirectory(directory.Path("missing"));
    EXPECT_FALSE(watcher.Arm());
    EXPECT_FALSE(watcher.CatchUp(std::chrono::milliseconds(0)));
}

TEST(FileSystemWatcher, NoticesThatItsDirectoryWasReplaced) {
    const TempDir directory;
    directory.Write("res/a", "");
    FileSystemWatcher watcher;
    watcher.WatchDirectory(directory.Path("res"));
    ASSERT_TRUE(watcher.Arm());
    fs::rename(directory.Path("res"), directory.Path("away"));
    EXPECT_FALSE(watcher.CatchUp(std::chrono::milliseconds(1)));
    directory.MakeDir("res");
    EXPECT_TRUE(watcher.CatchUp(std::chrono::minutes(1)));
    EXPECT_THAT(watcher.TakeLoss(), HasSubstr("res is not where it was"));
    directory.Write("res/b", "");
    EXPECT_TRUE(watcher.CatchUp(std::chrono::minutes(1)));
    std::vector<DirectoryChangeParam> changes;
    watcher.ReadChanges(changes);
    EXPECT_THAT(InWords(changes), ElementsAre("+b"));
}

TEST(ChangeQueue, HoldsRenamesBackAndWhatFollowsThem) {
    ChangeQueue queue;
    const ChangeQueue::Clock::time_point start{};
    const auto taken = [&queue](ChangeQueue::Clock::time_point now) {
        std::vector<DirectoryChangeParam> changes;
        queue.Take(changes, now);
        return InWords(changes);
    };
    queue.Push(vxio::ChangeAction::Modified, {"/r", "a"});
    queue.PushRename({"/r", "b"}, {"/r", "c"}, start);
    queue.Push(vxio::ChangeAction::Added, {"/r", "b"});
    EXPECT_THAT(taken(start), ElementsAre("*a"));
    EXPECT_THAT(taken(start + ChangeQueue::kHoldRenames), ElementsAre("b>c", "+b"));
    queue.PushRename({"/r", "b"}, {"/r", "c"}, start);
    queue.Release();
    EXPECT_THAT(taken(start), ElementsAre("b>c"));
}

}  // namespace
}  // namespace vexa::test
