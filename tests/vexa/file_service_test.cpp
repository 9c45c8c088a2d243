#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/TempDir.h"
#include "vexa/common/FileService.h"
#include "vexa/common/InterfaceBox.h"
#include "vexa/io/PackageManager.h"
#include "vexa/os/ModulePath.h"

namespace vexa {
namespace {

namespace fs = std::filesystem;

class FileServiceTest : public ::testing::Test {
protected:
    FileServiceTest() { InterfaceBox::Instance().SetProjectRoot(dir.Path()); }

    std::string Resource(const std::string& key) const { return dir.Path("res/" + key); }
    std::string KeyOf(const std::string& path) {
        std::string key = "unset";
        return files.MakeRelative(path, key) ? key : "none" + key;
    }
    std::string Named(const std::string& text) {
        std::string key = "unset";
        return files.KeyOfReference(text, key) ? key : "none" + key;
    }
    std::string Contents(const std::string& path) {
        const FilePtr file = files.ReadFile(path);
        return file ? std::string(file->GetData(), file->GetSize()) : "unreadable";
    }

    test::TempDir dir;
    IFileService& files = InterfaceBox::Instance().GetFileService();
};

TEST_F(FileServiceTest, EveryFormLeadsToTheFile) {
    dir.Write("res/fx/A b.nfx", "effect");
    const std::string root = dir.Path();
    for (const std::string& path :
         {std::string("fx/A b.nfx"), std::string("fx\\A b.nfx"),
          std::string("none\\..\\fx//A b.nfx"), Resource("fx/A b.nfx"),
          root + "\\res\\fx/./A b.nfx", root + "/x/../res\\fx\\A b.nfx"}) {
        EXPECT_EQ(Contents(path), "effect") << path;
        EXPECT_TRUE(files.FileExists(path)) << path;
        EXPECT_EQ(files.GetState(path).size, 6U) << path;
        EXPECT_EQ(KeyOf(path), "fx/A b.nfx") << path;
    }
    EXPECT_FALSE(files.FileExists("fx/a b.nfx"));
    EXPECT_FALSE(files.FileExists("fx"));
    EXPECT_TRUE(files.GetState("fx").directory);
    EXPECT_FALSE(files.GetState("missing").exists);

    // Outside of the tree only absolute paths name something.
    const std::string outside = dir.Write("outside.txt", "out");
    EXPECT_EQ(Contents(outside), "out");
    EXPECT_FALSE(files.FileExists("../outside.txt"));
}

TEST_F(FileServiceTest, KeysOfPathsAndReferences) {
    const std::string res = dir.Path("res");
    const struct {
        std::string text, key, named;
    } cases[] = {
        {"a\\.\\b", "a/b", "a/b"},
        {"a/../../b", "none", "none"},
        {res, "", "none"},
        {res + "\\\\../res/a/", "a", "a"},
        {res + "/../a", "none", dir.Path("a").substr(1)},
        {res + "ource/a", "none", (res + "ource/a").substr(1)},
        {"\\\\tex\\a.png", "none", "tex/a.png"},
        {"/../a.png", "none", "none"},
        {"C:\\a.png", "none", "none"},
        {"c:a.png", "c:a.png", "c:a.png"},
        {"\xc4\xe3\x01/x", "\xc4\xe3\x01/x", "\xc4\xe3\x01/x"},
        {res + std::string("/a\0b", 4), "none", "none"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KeyOf(c.text), c.key) << c.text;
        EXPECT_EQ(Named(c.text), c.named) << c.text;
    }
}

TEST_F(FileServiceTest, RootUnderAnotherName) {
    dir.MakeDir("res/fx");
    const test::TempDir other;
    fs::create_symlink(dir.Path(), other.Path("project"));
    fs::create_symlink(Resource("fx"), other.Path("effects"));
    EXPECT_EQ(KeyOf(other.Path("project\\res/fx/none.nfx")), "fx/none.nfx");
    EXPECT_EQ(KeyOf(other.Path("project/res")), "");
    EXPECT_EQ(KeyOf(other.Path("effects/a.nfx")), "none");
}

TEST_F(FileServiceTest, KeysAreOneSpelling) {
    EXPECT_TRUE(rc::check("absolute form, generator form and key have the same key", [&] {
        const auto piece = rc::gen::element<std::string>("a", "B.c", "..", ".", "/", "\\", "\xff");
        std::string path, key;
        for (const auto& part : *rc::gen::container<std::vector<std::string>>(piece)) path += part;
        RC_PRE(files.KeyOfReference(path, key));
        RC_ASSERT(KeyOf(key) == key);
        RC_ASSERT(Named(GeneratorForm(key)) == key);
        RC_ASSERT(KeyOf(files.AbsolutePath(key)) == key);
        RC_ASSERT(files.AbsolutePath(key) == Resource(key));
    }));
}

TEST_F(FileServiceTest, NormalisePathFillsTheBuffer) {
    char buffer[6];
    EXPECT_TRUE(files.NormalisePath("a\\bc\\..\\345", buffer, 6));
    EXPECT_STREQ(buffer, "a/345");
    EXPECT_FALSE(files.NormalisePath("a\\345", buffer, 5));
    EXPECT_STREQ(buffer, "");
}

TEST_F(FileServiceTest, ReadsOnlyRegularFiles) {
    dir.Write("res/empty", "");
    dir.Write("res/binary", std::string("a\0b", 3));
    fs::create_symlink("binary", Resource("link"));
    ASSERT_EQ(::mkfifo(Resource("pipe").c_str(), 0600), 0);

    EXPECT_EQ(Contents("link"), std::string("a\0b", 3));
    EXPECT_EQ(Contents("empty"), "");
    EXPECT_STREQ(files.ReadFile("empty")->GetText(), "");
    for (const char* name : {"pipe", "", "missing", "binary/x"})
        EXPECT_EQ(Contents(name), "unreadable") << name;
    EXPECT_FALSE(files.FileExists("pipe"));
    // The kernel says that this file has no bytes, yet there are some to read.
    EXPECT_GT(Contents("/proc/self/status").size(), 100U);
}

// Whatever a writer does meanwhile, what is read is a run of its bytes with the NUL behind it.
TEST_F(FileServiceTest, FileThatGrowsAndShrinks) {
    dir.Write("res/log", "");
    const std::jthread writer([&](const std::stop_token& stop) {
        std::ofstream log(Resource("log"), std::ios::app);
        const std::string block(5000, 'x');
        for (int i = 0; !stop.stop_requested(); ++i) {
            log << block << std::flush;
            if (i % 50 == 0) fs::resize_file(Resource("log"), 0);
        }
    });
    for (int i = 0; i < 500; ++i) {
        const FilePtr file = files.ReadFile("log");
        EXPECT_TRUE(file && file->GetText() == std::string(file->GetSize(), 'x'));
    }
}

TEST(InterfaceBoxTest, RootsAndServices) {
    const test::TempDir dir;
    InterfaceBox& box = InterfaceBox::Instance();
    box.SetProjectRoot(dir.Path("x\\../proj/"));
    EXPECT_EQ(box.GetProjectRoot(), dir.Path("proj"));
    EXPECT_EQ(box.GetResourceRoot(), dir.Path("proj/res"));
    EXPECT_EQ(box.GetResourcePath(dir.Path("proj\\res\\a\\b")), "a/b");
    EXPECT_EQ(box.GetResourcePath(dir.Path("proj/a")), "");

    const std::int64_t beat = box.GetHeartbeat()->Beat();
    EXPECT_GT(beat, 1'600'000'000'000);
    EXPECT_EQ(box.GetHeartbeat()->Last(), beat);

    IFileService* const own = &box.GetFileService();
    EXPECT_EQ(box.ReplaceFileService(nullptr), own);
    EXPECT_EQ(&box.GetFileService(), own);
}

TEST(PackageManagerTest, PlacesOfTheBuiltinPackage) {
    const test::TempDir dir;
    InterfaceBox::Instance().SetProjectRoot(dir.Path());
    vxio::PackageManager& packages = vxio::PackageManager::Instance();
    packages.SetPackagePath("builtin", "");
    EXPECT_EQ(packages.GetPackagePath("unknown"), "");

    // Before the variable come the files of the tree in which the tests were built.
    const std::string source = VX_SOURCE_DIR;
    const bool builtInside = os::ModulePath().starts_with(source + "/");
    ::setenv("VXDEPENDENCY_BUILTIN", "/named/by/variable/", 1);
    EXPECT_EQ(packages.GetPackagePath("builtin"),
              builtInside ? source + "/builtin" : "/named/by/variable");

    const std::string own = dir.MakeDir("builtin");
    EXPECT_EQ(packages.GetPackagePath("builtin"), own);
    packages.SetPackagePath("builtin", "/somewhere/else/");
    EXPECT_EQ(packages.GetPackagePath("builtin"), "/somewhere/else");
    packages.SetPackagePath("builtin", "");
    EXPECT_EQ(packages.GetPackagePath("builtin"), own);
}

}  // namespace
}  // namespace vexa
