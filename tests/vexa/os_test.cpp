#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"
#include "vexa/os/FindFiles.h"
#include "vexa/os/PosixFile.h"
#include "vexa/os/WindowsApi.h"

namespace vexa::os {
namespace {

namespace fs = std::filesystem;
using test::TempDir;

struct Found {
    _finddata64i32_t data;
    FileState state;
};

// All that a search delivers, by name; the end of the search is left in errno.
std::map<std::string, Found> FindAll(const std::string& pattern) {
    std::map<std::string, Found> all;
    _finddata64i32_t data;
    const std::intptr_t handle = _findfirst64i32(pattern.c_str(), &data);
    if (handle == -1) return all;
    do EXPECT_TRUE(all.emplace(data.name, Found{data, StateOfFound(handle)}).second) << data.name;
    while (_findnext64i32(handle, &data) == 0);
    const int end = errno;
    EXPECT_EQ(_findclose(handle), 0);
    errno = end;
    return all;
}

std::set<std::string> NamesOf(const std::string& pattern) {
    std::set<std::string> names;
    for (const auto& entry : FindAll(pattern)) names.insert(entry.first);
    return names;
}

DWORD Attributes(const std::string& path) {
    return GetFileAttributesA(path.c_str());
}

TEST(FindFiles, KindsOfEntries) {
    const TempDir dir;
    dir.Write("sub/file.txt", "12345");
    ::chmod(dir.Write("read-only.txt", "").c_str(), 0444);
    ::chmod(dir.MakeDir("read-only").c_str(), 0555);
    fs::create_symlink("sub", dir.Path("to-folder"));
    fs::create_symlink("sub/file.txt", dir.Path("to-file"));
    fs::create_symlink("ring", dir.Path("ring"));
    const timespec times[2] = {{1000, 0}, {-2, 123456789}};
    ::utimensat(AT_FDCWD, dir.Path("sub/file.txt").c_str(), times, 0);

    const auto all = FindAll(dir.Path() + "/*.*");
    EXPECT_EQ(errno, ENOENT);
    std::map<std::string, unsigned> attributes;
    for (const auto& [name, found] : all) attributes[name] = found.data.attrib;
    const std::map<std::string, unsigned> expected = {
        {".", 16},       {"..", 16},           {"sub", 16},        {"read-only", 17},
        {"ring", 0x400}, {"to-folder", 0x410}, {"to-file", 0x400}, {"read-only.txt", 1}};
    ASSERT_EQ(attributes, expected);
    for (const auto& [name, attribute] : expected) {
        if (name[0] == '.') continue;
        EXPECT_EQ(Attributes(dir.Path(name)), attribute) << name;
    }
    // Through the link: the five bytes and times of its target, to the nanosecond.
    const Found& file = all.at("to-file");
    EXPECT_EQ(file.data.size, 5U);
    EXPECT_EQ(file.data.time_write, -2);
    EXPECT_EQ(file.data.time_access, 1000);
    EXPECT_EQ(file.state, (FileState{true, false, -1'876'543'211, 5}));
    EXPECT_TRUE(all.at("to-folder").state.directory);

    EXPECT_TRUE(PathIsDirectoryA(dir.Path("to-folder\\").c_str()));
    EXPECT_EQ(Attributes(dir.Path("sub\\file.txt")), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(Attributes(dir.Path("sub/file.txt/x")), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
}

TEST(FindFiles, Patterns) {
    const TempDir dir;
    for (const char* name : {"a.png", "ab.png", "b.dds", "dotless", "we[i]rd.png", "a.png.bak",
                             "we*rd/x.png", "we*rd/*.png", "we*rd/*.*"})
        dir.Write(name, "");
    const std::pair<std::string, std::set<std::string>> cases[] = {
        {"/a*.png", {"a.png", "ab.png"}},
        {"/?.png", {"a.png"}},
        {"/*a*b*.png", {"ab.png"}},
        {"/*[i]*.png", {"we[i]rd.png"}},
        {"\\dotless", {"dotless"}},
        {"/we*rd", {"we*rd"}},
        {"\\we*rd/*.png", {"*.png"}},
        {"/we*rd/*.*", {".", "..", "x.png", "*.png", "*.*"}},
        {"/dotless?*", {}},
        {"/missing/*.*", {}},
        {"/b.dds/*.*", {}},
        {"/b.dds/", {}},
        {"/missing", {}},
    };
    for (const auto& [pattern, names] : cases) {
        errno = 0;
        EXPECT_EQ(NamesOf(dir.Path() + pattern), names) << pattern;
        EXPECT_EQ(errno, ENOENT) << pattern;
    }
    fs::current_path(dir.Path());
    for (const char* pattern : {"*.bak", "a.png.bak"})
        EXPECT_EQ(NamesOf(pattern), std::set<std::string>{"a.png.bak"});
    fs::current_path("/");
}

// Of one entry, the search and the single look tell the same: what a scan has recorded is compared
// with what a query sees.
TEST(FindFiles, OneEntry) {
    const TempDir dir;
    dir.Write("file.txt", "12345");
    dir.Write("a*.txt", "1");
    fs::create_symlink("file.txt", dir.Path("to-file"));
    fs::create_symlink("nowhere", dir.Path("to-nothing"));
    const timespec times[2] = {{1000, 0}, {-2, 123456789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, dir.Path("file.txt").c_str(), times, 0), 0);
    const auto all = FindAll(dir.Path("*"));
    for (const char* name : {"file.txt", "a*.txt", "to-file", "to-nothing"}) {
        std::int64_t seconds = 0;
        FileState state;
        ASSERT_TRUE(FindEntry(dir.Path(name), seconds, state)) << name;
        EXPECT_EQ(seconds, all.at(name).data.time_write) << name;
        EXPECT_EQ(state, all.at(name).state) << name;
    }
    std::int64_t seconds = 7;
    FileState state;
    EXPECT_FALSE(FindEntry(dir.Path("f*.txt"), seconds, state)) << "a name is no pattern";
    EXPECT_EQ(seconds, 7);
}

TEST(FindFiles, PassesOverWhatVanishesAndClosesItsDirectory) {
    const TempDir dir;
    for (int i = 0; i < 3000; ++i) dir.Write("f" + std::to_string(i), "");
    _finddata64i32_t data;
    const std::intptr_t handle = _findfirst64i32(dir.Path("*").c_str(), &data);
    ASSERT_NE(handle, -1);
    for (int i = 0; i < 3000; ++i) fs::remove(dir.Path("f" + std::to_string(i)));
    while (_findnext64i32(handle, &data) == 0) continue;
    EXPECT_EQ(errno, ENOENT);
    _findclose(handle);

    rlimit before;
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{64, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    for (int i = 0; i < 100; ++i) EXPECT_FALSE(FindAll(dir.Path() + "/*.*").empty()) << i;
    ::setrlimit(RLIMIT_NOFILE, &before);
}

TEST(FindFiles, FailureIsToldApartFromTheEnd) {
    const TempDir dir;
    ::chmod(dir.Path().c_str(), 0755);
    const std::string folder = dir.MakeDir("names");
    dir.Write("names/f", "");
    for (const mode_t mode : {0, 0444}) {
        ::chmod(folder.c_str(), mode);
        EXPECT_EQ(test::RunWithoutRights([&] { return FindAll(folder + "/*.*"), errno; }), EACCES);
    }
    ::chmod(folder.c_str(), 0755);
}

class MoveFile : public ::testing::Test {
protected:
    // The error of a move or copy, 0 for success. Absolute paths stay as they are.
    DWORD Move(const std::string& from, const std::string& to) {
        return MoveFileA(Full(from).c_str(), Full(to).c_str()) ? 0 : GetLastError();
    }
    DWORD Copy(const std::string& from, const std::string& to, bool failIfExists) {
        return CopyFileA(Full(from).c_str(), Full(to).c_str(), failIfExists) ? 0 : GetLastError();
    }
    std::string Full(const std::string& path) const {
        return path[0] == '/' ? path : dir.Path(path);
    }
    std::size_t Entries() const {
        const auto all = fs::directory_iterator(dir.Path());
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }

    TempDir dir;
};

TEST_F(MoveFile, NeverReplaces) {
    dir.Write("a/file", "moved");
    dir.Write("b/there", "kept");
    dir.MakeDir("empty");
    dir.Write("full/x", "");
    fs::create_symlink("nowhere", dir.Path("dangling"));
    const struct {
        std::string from, to;
        DWORD code;
    } refused[] = {
        {"a/file", "b\\there", ERROR_ALREADY_EXISTS},
        {"a/file", "dangling", ERROR_ALREADY_EXISTS},
        {"full", "empty", ERROR_ALREADY_EXISTS},
        {"a/file", "none/file", ERROR_PATH_NOT_FOUND},
        {"none", "new", ERROR_FILE_NOT_FOUND},
        {"full", "full/in", ERROR_INVALID_PARAMETER},
        {"a/file", std::string(300, 'x'), ERROR_FILENAME_EXCED_RANGE},
    };
    for (const auto& [from, to, code] : refused)
        EXPECT_EQ(Move(from, to), code) << from << " " << to;
    EXPECT_EQ(dir.Read("b/there"), "kept");
    EXPECT_EQ(dir.Read("a/file"), "moved");

    EXPECT_EQ(Move("a\\file", "b/file"), 0U);
    EXPECT_EQ(dir.Read("b/file"), "moved");
    EXPECT_EQ(Move("full", "b/full"), 0U);
    EXPECT_TRUE(dir.Exists("b/full/x") && !dir.Exists("a/file"));
    EXPECT_EQ(Move("dangling", "moved-link"), 0U);
    EXPECT_EQ(fs::read_symlink(dir.Path("moved-link")), "nowhere");
}

TEST_F(MoveFile, WithoutHelpOfTheFileSystem) {
    dir.Write("file", "moved");
    dir.Write("there", "kept");
    dir.MakeDir("folder");
    dir.MakeDir("empty");
    const auto move = [this](const char* from, const char* to) {
        return MoveByLinking(Full(from).c_str(), Full(to).c_str()) ? 0 : errno;
    };
    EXPECT_EQ(move("file", "there"), EEXIST);
    EXPECT_EQ(move("folder", "empty"), EEXIST);
    EXPECT_EQ(move("none", "new"), ENOENT);
    EXPECT_EQ(move("file", "new"), 0);
    EXPECT_EQ(move("folder", "folder2"), 0);
    EXPECT_EQ(dir.Read("new"), "moved");
    EXPECT_EQ(dir.Read("there"), "kept");
    EXPECT_FALSE(dir.Exists("file"));
}

TEST_F(MoveFile, AcrossDevices) {
    struct stat here, memory;
    if (::stat(dir.Path().c_str(), &here) != 0 || ::stat("/dev/shm", &memory) != 0 ||
        here.st_dev == memory.st_dev)
        GTEST_SKIP() << "needs a second file system at /dev/shm";
    const TempDir other("/dev/shm");
    const std::string content(300'000, 'x');
    const std::string source = other.Write("file", content);
    ::chmod(source.c_str(), 0640);
    const timespec times[2] = {{1000, 0}, {2000, 5}};
    ::utimensat(AT_FDCWD, source.c_str(), times, 0);
    fs::create_symlink("text of a link", other.Path("link"));
    other.MakeDir("folder");
    dir.Write("there", "kept");

    EXPECT_EQ(Move(other.Path("file"), "there"), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(Move(other.Path("folder"), "folder"), ERROR_NOT_SAME_DEVICE);
    EXPECT_EQ(other.Read("file"), content);
    EXPECT_EQ(Entries(), 1U);

    EXPECT_EQ(Move(other.Path("file"), "file"), 0U);
    EXPECT_EQ(Move(other.Path("link"), "link"), 0U);
    EXPECT_EQ(dir.Read("file"), content);
    struct stat moved;
    ::stat(dir.Path("file").c_str(), &moved);
    EXPECT_EQ(moved.st_mode & 07777, 0640U);
    EXPECT_EQ(StateOf(moved).writeTimeNs, 2'000'000'000'005);
    EXPECT_EQ(fs::read_symlink(dir.Path("link")), "text of a link");
    EXPECT_FALSE(other.Exists("file") || other.Exists("link"));
}

TEST_F(MoveFile, CopyIsWholeOrNotThere) {
    const std::string content(300'000, 'y');
    ::chmod(dir.Write("file", content).c_str(), 0444);
    dir.Write("there", "kept");
    fs::create_symlink("there", dir.Path("link"));
    dir.MakeDir("folder");

    EXPECT_EQ(Copy("file", "there", true), ERROR_FILE_EXISTS);
    EXPECT_EQ(dir.Read("there"), "kept");
    EXPECT_EQ(Copy("folder", "new", true), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Copy("none", "new", true), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Copy("file", "folder", false), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Entries(), 4U);

    EXPECT_EQ(Copy("file", "folder\\copy", true), 0U);
    EXPECT_EQ(dir.Read("folder/copy"), content);
    EXPECT_EQ(Attributes(dir.Path("folder/copy")), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(Copy("file", "link", false), 0U);
    EXPECT_EQ(dir.Read("there"), content);
    EXPECT_TRUE(fs::is_symlink(dir.Path("link")));
}

TEST_F(MoveFile, FullDiskLeavesNothing) {
    dir.Write("file", std::string(300'000, 'z'));
    dir.Write("there", "kept");
    {
        const test::FullDisk full(150'000);  // so that the copy fails in its middle
        EXPECT_NE(Copy("file", "new", true), 0U);
        EXPECT_NE(Copy("file", "there", false), 0U);
    }
    EXPECT_EQ(Entries(), 2U);
    EXPECT_EQ(dir.Read("there"), "kept");
}

}  // namespace
}  // namespace vexa::os
