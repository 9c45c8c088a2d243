#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <random>

#include "tests/support/Project.h"
#include "vexa/journal/ChangeJournal.h"
#include "vexa/journal/OverlayFiles.h"

namespace vexa {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using Tree = std::map<std::string, std::string>;  // contents of files by key; "/" for folders

constexpr std::chrono::milliseconds kNoPatience{0};

class JournalTest : public testing::Test {
protected:
    IFileService& Files() { return InterfaceBox::Instance().GetFileService(); }

    Tree OnDisk() const {
        Tree tree;
        for (const auto& entry : fs::recursive_directory_iterator(project.Resource(""))) {
            const std::string key = entry.path().lexically_relative(project.Resource(""));
            tree[key] = entry.is_directory() ? "/" : project.Read(key);
        }
        return tree;
    }

    // What the overlay shows of everything that may be there.
    Tree Shown(OverlayFiles& overlay, const std::vector<std::string>& keys) const {
        Tree tree;
        for (const std::string& key : keys) {
            const FileState state = overlay.GetState(key);
            EXPECT_EQ(overlay.FileExists(key), state.exists && !state.directory) << key;
            const FilePtr file = overlay.ReadFile(key);
            EXPECT_EQ(file != nullptr, state.exists && !state.directory) << key;
            if (file) tree[key] = std::string(file->GetData(), file->GetSize());
            if (state.directory) tree[key] = "/";
        }
        return tree;
    }

    // Plans with `change`, and applies that.
    bool Do(const std::function<void(OverlayFiles&)>& change) {
        EXPECT_TRUE(journal.Begin(kNoPatience)) << journal.GetError();
        OverlayFiles overlay(Files(), journal.StagingFolder());
        change(overlay);
        const bool applied = journal.Apply(overlay.TakeChanges());
        error = journal.GetError();
        journal.Finish();
        journal.Close();
        return applied;
    }

    bool Undo() {
        const bool undone = journal.BeginUndo(kNoPatience) && journal.Undo() && journal.Finish();
        journal.Close();
        return undone;
    }

    test::Project project;
    ChangeJournal journal{project.Root() + "/temp/rename", project.Root()};
    std::string error;
};

// Whatever moves and edits are planned: the overlay shows what the disk then holds, a plan alone
// changes nothing, and taking everything back restores every byte.
TEST_F(JournalTest, PlansAreWhatHappensAndCanBeTakenBack) {
    const std::vector<std::string> keys = {"A",   "B",     "A/C",   "a",     "b",   "A/a",
                                           "A/b", "B/a",   "B/b",   "A/C/a", "C",   "C/a",
                                           "B/C", "B/C/a", "A/C/b", "C/b",   "B/A", "B/A/a"};
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        const auto any = [&] { return keys[random() % keys.size()]; };
        project.Remove("");
        for (const char* folder : {"res/A/C", "res/B"}) project.Directory().MakeDir(folder);
        for (const char* file : {"a", "A/a", "A/b", "A/C/a", "B/b"}) project.Write(file, file);
        const Tree before = OnDisk();
        Tree shown;
        ASSERT_TRUE(Do([&](OverlayFiles& overlay) {
            for (int step = 0; step < 8; ++step) {
                const std::string key = any();
                if (random() % 3 != 0) {
                    overlay.Move(key, any());
                } else if (overlay.FileExists(key) || random() % 2 == 0) {
                    std::string reason;
                    overlay.Save(key, "step " + std::to_string(step), reason);
                }
            }
            shown = Shown(overlay, keys);
            EXPECT_EQ(OnDisk(), before) << seed;
        })) << seed
            << error;
        Tree after = OnDisk();
        std::erase_if(after, [&](const auto& entry) {
            return !testing::Value(keys, testing::Contains(entry.first));
        });
        EXPECT_EQ(after, shown) << seed;
        ASSERT_TRUE(Undo()) << seed << journal.GetError();
        EXPECT_EQ(OnDisk(), before) << seed;
    }
}

TEST_F(JournalTest, AFileThatSomebodyChangedMeanwhileKeepsTheirWork) {
    for (const char* file : {"a", "b", "c"}) project.Write(file, file);
    const auto change = [](OverlayFiles& overlay) {
        std::string reason;
        overlay.ReadFile("a");
        overlay.ReadFile("b");
        overlay.Save("a", "new", reason);
        overlay.Save("b", "new", reason);
        overlay.Move("c", "d");
    };
    const Tree theirs = {{"a", "a"}, {"b", "theirs"}, {"c", "c"}};
    EXPECT_FALSE(Do([&](OverlayFiles& overlay) {
        change(overlay);
        project.Write("b", "theirs");
    }));
    EXPECT_THAT(error, HasSubstr("/b: was changed by another program"));
    EXPECT_EQ(OnDisk(), theirs);
    EXPECT_FALSE(journal.WasInterrupted());

    ASSERT_TRUE(Do(change)) << error;
    project.Write("a", "later");
    project.Write("d", "a moved file may change");
    EXPECT_FALSE(Undo());
    EXPECT_THAT(journal.GetConflicts(), ElementsAre(HasSubstr("/a: has changed since")));
    EXPECT_EQ(project.Read("b"), "new");
    project.Write("a", "new");  // the same again, as by version control
    ASSERT_TRUE(Undo()) << journal.GetError();
    EXPECT_EQ(OnDisk(), (Tree{{"a", "a"}, {"b", "theirs"}, {"c", "a moved file may change"}}));
    EXPECT_FALSE(Undo());
    EXPECT_THAT(journal.GetError(), HasSubstr("no rename to take back"));
}

TEST_F(JournalTest, OneAtATimeAndNothingOfADamagedList) {
    ChangeJournal other(project.Root() + "/temp/rename", project.Root());
    ASSERT_TRUE(journal.Begin(kNoPatience));
    EXPECT_FALSE(other.Begin(kNoPatience));
    EXPECT_THAT(other.GetError(), HasSubstr("in use by"));
    journal.Close();
    EXPECT_TRUE(other.Begin(kNoPatience)) << other.GetError();

    ChangeSet changes{{{"t", "new/0", "old/0", {1, 2, 3}, {4, 5, 6}, 7}},
                      {{"/p/f", "/elsewhere/t", 8}},
                      "title",
                      {"note", ""}};
    const std::string bytes = WriteChangeSet(changes, "/p");
    ChangeSet read;
    ASSERT_TRUE(ReadChangeSet(bytes, "/q", read));
    EXPECT_EQ(WriteChangeSet(read, "/q"), bytes) << "the folder may get another name";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::string damaged = bytes;
        damaged[i] ^= 0x40;
        EXPECT_FALSE(ReadChangeSet(damaged, "/q", read)) << i;
        EXPECT_FALSE(ReadChangeSet(bytes.substr(0, i), "/q", read)) << i;
    }
}

}  // namespace
}  // namespace vexa
