#include "vexa/io/Path.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <array>
#include <string>

#include "vexa/common/FileService.h"
#include "vexa/common/KeyText.h"
#include "vexa/os/WindowsApi.h"

namespace vexa::vxio {
namespace {

TEST(FormatPath, Table) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"./", ""},
        {"a//b\\c", "a/b/c"},
        {"./a/./b/.", "a/b"},
        {"a/b/", "a/b/"},
        {"a/b/../c", "a/c"},
        {"a/..", ""},
        {"a/b/../../../c", "../c"},
        {"\\\\a", "/a"},
        {"../a/..", ".."},
        {"/../a", "/a"},
        {"/a/../", "/"},
        {"c:name/..", ""},
        {"a/.../..b", "a/.../..b"},
        {"C:\\a\\..\\..\\b", "C:/b"},
    };
    for (const auto& [input, expected] : cases) EXPECT_EQ(FormatPath(input), expected) << input;
}

TEST(CombinePath, KeepsReferencesBelowTheDirectory) {
    EXPECT_EQ(CombinePath("a\\b\\", "x.png"), "a/b/x.png");
    EXPECT_EQ(CombinePath("a/b", "..\\x.png"), "a/x.png");
    EXPECT_EQ(CombinePath("", "/x.png"), "x.png");
    EXPECT_EQ(CombinePath("/proj/a", "\\x"), "/proj/a/x");
    EXPECT_EQ(CombinePath("a", ""), "a/");
}

TEST(PathParts, Table) {
    const struct {
        std::string path, directory, name, extension, bare, stem;
    } cases[] = {
        {"a\\b.c/d.e.f", "a\\b.c/", "d.e.f", ".f", "d.e", "a\\b.c/d"},
        {"a.b/c", "a.b/", "c", "", "c", "a.b/c"},
        {"a.b\\", "a.b\\", "", "", "", "a.b\\"},
        {".dot", "", ".dot", ".dot", "", ""},
        {"end.", "", "end.", ".", "end", "end"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(GetDirName(c.path), c.directory) << c.path;
        EXPECT_EQ(GetFileName(c.path), c.name) << c.path;
        EXPECT_EQ(GetFileExtension(c.path), c.extension) << c.path;
        EXPECT_EQ(GetFileNameWithoutExtension(c.path), c.bare) << c.path;
        EXPECT_EQ(GetStem(c.path), c.stem) << c.path;
    }
}

TEST(GetRelativeDir, Table) {
    const struct {
        std::string path, base, expected;
    } cases[] = {
        {"a/c/x.png", "a/b/", "../c/"}, {"a/c/x.png", "a/b", "../c/"},
        {"a\\b\\x.png", "a/b/", ""},    {"x.png", "a/b/", "../../"},
        {"a/b/x.png", "", "a/b/"},      {"ab/x.png", "a/", "../ab/"},
        {"/a/x.png", "/b/", "../a/"},   {"a/x.png", "../b/", "a/"},
        {"/a/x.png", "b/", "/a/"},      {"D:/a/x.png", "C:/a/", "D:/a/"},
    };
    for (const auto& c : cases) EXPECT_EQ(GetRelativeDir(c.path, c.base), c.expected) << c.path;
}

TEST(NormaliseKey, RefusesWhatLeavesTheRoot) {
    std::string key = "before";
    EXPECT_FALSE(NormaliseKey("a/../../b", key));
    EXPECT_EQ(key, "");
    EXPECT_FALSE(NormaliseKey(std::string("a\0b", 3), key));
    EXPECT_TRUE(NormaliseKey("Fx\\.\\sub//../A.nfx/", key));
    EXPECT_EQ(key, "Fx/A.nfx");
    EXPECT_EQ(GeneratorForm("fx/sub/a.nfx"), "fx\\sub\\a.nfx");
    EXPECT_EQ(GeneratorForm("a.nfx"), ".\\a.nfx");
}

// Paths made of the pieces that matter, in any arrangement.
rc::Gen<std::string> AnyPath() {
    const auto piece =
        rc::gen::element<std::string>("a", "b.c", "..", ".", "/", "\\", "//", "C:", "\xff", "...");
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(piece), [](const auto& parts) {
        std::string path;
        for (const std::string& part : parts) path += part;
        return path;
    });
}

TEST(PathProperties, FormsAreStable) {
    EXPECT_TRUE(rc::check("formatting twice changes nothing", [] {
        const std::string once = FormatPath(*AnyPath());
        RC_ASSERT(FormatPath(once) == once);
    }));
    EXPECT_TRUE(rc::check("the way leads from the base to the path", [] {
        std::string path, base;
        RC_PRE(NormaliseKey(*AnyPath(), path) && NormaliseKey(*AnyPath(), base) && !path.empty());
        RC_PRE(!path.starts_with("C:") && !base.starts_with("C:"));  // would be absolute
        const std::string way = GetRelativeDir(path, base) + GetFileName(path);
        RC_ASSERT(CombinePath(base, way) == path);
    }));
}

TEST(PathProperties, KeysAreMadeInEveryWay) {
    EXPECT_TRUE(
        rc::check("a text is a plain key when it is its own key, without dots in front", [] {
            std::string text = *AnyPath();
            if (!text.empty() && *rc::gen::inRange(0, 8) == 0) text[text.size() / 2] = '\0';
            std::string key;
            const bool isKey = NormaliseKey(text, key) && key == text && !key.empty();
            const bool dotted = text.starts_with('.') || text.find("/.") != std::string::npos;
            RC_ASSERT(IsPlainKey(text) == (isKey && !dotted));
        }));
    EXPECT_TRUE(rc::check("a text is read from a folder as if that stood before it", [] {
        std::string folder;
        RC_PRE(NormaliseKey(*AnyPath(), folder));
        const std::string text = *AnyPath();
        std::string joined;
        const bool named = NormaliseKey(folder + '/' + text, joined);
        RC_ASSERT(AppendNormalised(text, folder) == named);
        RC_ASSERT(folder == joined);
    }));
}

// The names of Windows are the system's own there.
#if !defined(_WIN32)
TEST(ShellPaths, RelativeMeansWithoutSeparatorOrDrive) {
    for (const char* path : {"a", "a/b", "", "..\\a", ":a"}) EXPECT_TRUE(PathIsRelativeA(path));
    for (const char* path : {"/a", "\\a", "C:\\a", "c:a"}) EXPECT_FALSE(PathIsRelativeA(path));
}

TEST(ShellPaths, Combine) {
    const std::string longest(MAX_PATH - 3, 'x');
    char out[MAX_PATH + 1];
    const std::array<std::string, 3> cases[] = {{"/r/res/", "./a\\../b", "/r/res/b"},
                                                {"/r", "/a", "/a"},
                                                {"/r", "C:\\a", "C:/a"},
                                                {"/", "../../a", "/a"},
                                                {"/r", "", "/r"},
                                                {"/r", longest, "/r/" + longest}};
    for (const auto& [directory, file, expected] : cases)
        EXPECT_EQ(PathCombineA(out, directory.c_str(), file.c_str()), expected);
    EXPECT_EQ(PathCombineA(out, "/r", (longest + "x").c_str()), nullptr);
    EXPECT_STREQ(out, "");
}

TEST(ShellPaths, RelativePathTo) {
    char out[MAX_PATH + 1];
    const auto way = [&out](const char* from, DWORD kind, const char* to, DWORD toKind) {
        return PathRelativePathToA(out, from, kind, to, toKind) ? std::string(out) : "none";
    };
    constexpr DWORD dir = FILE_ATTRIBUTE_DIRECTORY, file = FILE_ATTRIBUTE_NORMAL;
    EXPECT_EQ(way("/r/res/x.y", file, "/r/res/a/b.c", file), "./a/b.c");
    EXPECT_EQ(way("/r/res/a", dir, "\\r\\res\\b\\..\\c.d", file), "../c.d");
    EXPECT_EQ(way("/r/res", dir, "/r/resource", file), "../resource");
    EXPECT_EQ(way("/r/res", dir, "/r/res", dir), ".");
    EXPECT_EQ(way("C:/a", dir, "D:/a", dir), "none");
    EXPECT_EQ(way("a", dir, "b", dir), "none");
}
#endif

}  // namespace
}  // namespace vexa::vxio
