#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"
#include "vexa/os/AtomicFile.h"

namespace vexa::os {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename());
    return names;
}

struct stat StatusOf(const std::string& path) {
    struct stat entry = {};
    ::stat(path.c_str(), &entry);
    entry.st_mode &= 07777;
    return entry;
}

class AtomicFileTest : public testing::Test {
protected:
    // Saves in a process that `hampered` has made unable to, and returns whether the reason was as
    // expected.
    void ExpectFailure(
        const std::string& path, const std::string& reason,
        const std::function<bool()>& hampered = [] { return true; }) const {
        test::ChildProcess child([&] {
            std::string error;
            if (!hampered()) return 2;
            if (SaveFile(path, std::string(100'000, 'x'), error)) return 3;
            return error == path + ": cannot be saved: " + reason ? 0 : 1;
        });
        EXPECT_EQ(child.Wait(), 0) << path << ", " << reason;
    }

    const test::TempDir dir;
};

TEST_F(AtomicFileTest, ReplacesAsAWholeAndKeepsPermissionsAndLinks) {
    std::string error;
    const ::mode_t umaskBefore = ::umask(027);
    ASSERT_TRUE(SaveFile(dir.Path("new.scn"), "made", error)) << error;
    ::umask(umaskBefore);
    EXPECT_EQ(StatusOf(dir.Path("new.scn")).st_mode, 0640U);

    dir.Write("far/old.scn", "old");
    ::chmod(dir.Path("far/old.scn").c_str(), 0751);
    // Only the superuser may give files away.
    const bool given = ::chown(dir.Path("far/old.scn").c_str(), 1234, 1234) == 0;
    const uid_t owner = given ? 1234 : ::geteuid();
    fs::create_symlink("far/old.scn", dir.Path("link.scn"));
    AtomicFile file;
    ASSERT_TRUE(file.Open(dir.Path("link.scn")));
    ASSERT_TRUE(file.Write("ne", 2) && file.Write("w", 1));
    EXPECT_EQ(dir.Read("far/old.scn"), "old");
    ASSERT_TRUE(file.Commit()) << file.GetError();
    EXPECT_EQ(dir.Read("far/old.scn"), "new");
    EXPECT_EQ(StatusOf(dir.Path("far/old.scn")).st_mode, 0751U);
    EXPECT_EQ(StatusOf(dir.Path("far/old.scn")).st_uid, owner);
    EXPECT_TRUE(fs::is_symlink(dir.Path("link.scn")));

    {
        AtomicFile abandoned;
        ASSERT_TRUE(abandoned.Open(dir.Path("new.scn")) && abandoned.Write("half", 4));
    }
    EXPECT_EQ(dir.Read("new.scn"), "made");
    EXPECT_THAT(NamesIn(dir.Path()), testing::UnorderedElementsAre("new.scn", "far", "link.scn"));
    EXPECT_THAT(NamesIn(dir.Path("far")), testing::ElementsAre("old.scn"));
}

TEST_F(AtomicFileTest, AFailureLeavesTheOldFileAndTellsTheReason) {
    dir.Write("old.scn", "old");
    dir.Write("locked/old.scn", "old");
    fs::create_symlink("nowhere", dir.Path("dangling.scn"));
    ExpectFailure(dir.Path(), "Is a directory");
    ExpectFailure(dir.Path("no/old.scn"), "No such file or directory");
    ExpectFailure(dir.Path("dangling.scn"), "No such file or directory");
    {
        const test::FullDisk full(4096);
        ExpectFailure(dir.Path("old.scn"), "File too large");
    }
    fs::permissions(dir.Path(), fs::perms{0777});
    fs::permissions(dir.Path("locked"), fs::perms{0555});
    fs::permissions(dir.Path("locked/old.scn"), fs::perms{0666});
    const auto unprivileged = [] { return ::geteuid() != 0 || ::setuid(65534) == 0; };
    ExpectFailure(dir.Path("locked/old.scn"), "Permission denied", unprivileged);
    fs::permissions(dir.Path("old.scn"), fs::perms{0444});
    ExpectFailure(dir.Path("old.scn"), "Permission denied", unprivileged);

    for (const char* path : {"old.scn", "locked/old.scn"}) EXPECT_EQ(dir.Read(path), "old");
    EXPECT_TRUE(fs::is_symlink(dir.Path("dangling.scn")));
    EXPECT_THAT(NamesIn(dir.Path()),
                testing::UnorderedElementsAre("old.scn", "locked", "dangling.scn"));
    EXPECT_THAT(NamesIn(dir.Path("locked")), testing::ElementsAre("old.scn"));
}

}  // namespace
}  // namespace vexa::os
