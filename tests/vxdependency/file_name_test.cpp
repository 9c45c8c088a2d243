// The reading side of FileNameProcessor.

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include "tests/support/Project.h"
#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {
namespace {

struct Case {
    std::string text;
    int mask;
    std::string candidates;
    std::string companions = "none";
};

std::string Joined(const FileNameProcessor::List& list) {
    return list.empty() ? "none" : fmt::format("{}", fmt::join(list, ", "));
}

void Check(const char* file, const std::vector<Case>& cases) {
    for (const auto& [text, mask, expected, expectedCompanions] : cases) {
        SCOPED_TRACE(testing::Message()
                     << text.substr(0, 80) << " in " << file << ", mask 0x" << std::hex << mask);
        const auto [candidates, companions] =
            FileNameProcessor::Execute(file, text, mask, PathGoal::All);
        EXPECT_EQ(Joined(candidates), expected);
        EXPECT_EQ(Joined(companions), expectedCompanions);
    }
}

constexpr const char* kScene = "level\\scene.xml";

TEST(FileName, BitsWithoutStrategyLeaveTheTextAlone) {
    const test::Project project;
    for (const int mask : {0, 0x1244}) {
        Check(kScene, {{"tex\\a.png#x", mask, "tex\\a.png#x"}, {"", mask, ""}});
    }
}

TEST(FileName, ReadsRelativeToTheFileAndToTheRoot) {
    const test::Project project;
    const std::string huge(3'000'000, 'x');
    Check("level/scene.xml", {{"tex/a.png", 0x1, "level/tex/a.png, tex/a.png"}});
    Check("a\\b\\c.xml", {{".\\./d//e.png", 0x1, "a/b/d/e.png, .\\./d//e.png"}});
    Check(".\\top.xml", {{"a.png", 0x1, "a.png, a.png"}});
    Check(kScene,
          {{"tex/a.png", 0x1, "level/tex/a.png, tex/a.png"},
           {"..\\tex\\a.png", 0x1, "tex/a.png, ..\\tex\\a.png"},
           {"/tex/a.png", 0x1, "level/tex/a.png, /tex/a.png"},
           {"../../a.png", 0x1, "../../a.png"},
           {"", 0x1, ""},
           {huge, 0x1, huge},
           {"\\tex\\..\\a.png", 0x2, "a.png, \\tex\\..\\a.png"},
           {"../a.png", 0x2, "../a.png"},
           {project.Resource("tex/a.png"), 0x2, "tex/a.png, " + project.Resource("tex/a.png")},
           {"tex/a.png", 0x3, "tex/a.png, level/tex/a.png, tex/a.png"}});
}

TEST(FileName, AdjustsTheWorkingName) {
    const test::Project project;
    const std::string longTail(300, 'q');
    Check(kScene,
          {{"/res/tex/a.png", 0x8, "tex/a.png"},
           {"\\res\\\\tex\\a.png", 0x8, "tex\\a.png"},
           {"resource/a.png", 0x8, "resource/a.png"},
           {"tex/res/a.png", 0x8, "tex/res/a.png"},
           {"///", 0x8, ""},
           {"a.png#b?c", 0x20, "a.png"},
           {"a.png|b#c", 0x20, "a.png"},
           {"/a.png?v=2", 0x29, "level/a.png?v=2, level/a.png, a.png"},
           {"a#b.png", 0x21, "level/a#b.png, level/a, a"},
           {"#ffffff99", 0x21, "level/#ffffff99, "},
           {"a.png?" + longTail, 0x21, "level/a.png?" + longTail + ", level/a.png, a.png"}});
    // What the referring file's directory holds is no selector.
    Check("c#\\x.xml",
          {{"a.png", 0x21, "c#/a.png, a.png"}, {"a.png#1", 0x21, "c#/a.png#1, c#/a.png, a.png"}});
}

TEST(FileName, FindsImagesUnderAnotherExtension) {
    const test::Project project;
    project.Touch("tex/a.png", "tex/b.dds", "tex/b.tga", "level/c.ktx", "c.jpg", "level/d.png",
                  "d.dds", "tex/e.png");
    Check(kScene, {{"tex/a.png", 0x100, "tex/a.png"},
                   {"tex/b.png", 0x100, "tex/b.dds"},
                   {"tex\\b.PNG", 0x102, "tex/b.PNG, tex/b.dds, tex\\b.dds"},
                   {"c.png", 0x101, "level/c.png, level/c.ktx, c.jpg"},
                   {"tex/none.png", 0x102, "tex/none.png, tex/none.png"},
                   {"tex/b.txt", 0x100, "tex/b.txt"},
                   {"tex/b.png#1", 0x120, "tex/b.dds"},
                   {"d.png", 0x101, "level/d.png, d.png"}});
}

TEST(FileName, FindsTheFilesOfATerrainFolder) {
    const test::Project project;
    project.Touch("level/land/geod.gax", "level/land/geod.bson", "land/geod.gaj", "level/geod.gaj");
    Check(kScene,
          {{"land\\", 0x800, "level/land/geod.bson, level/land/geod.gax, land/geod.gaj, land\\"},
           {".", 0x800, "level/geod.gaj, ."},
           {"sea", 0x800, "sea"},
           {"", 0x800, ""}});
}

TEST(FileName, FindsWhatComesWithAResource) {
    const test::Project project(R"({
        "mat": {"name_list": [{"e": "", "a": ".explicit", "s": 4096},
                              {"e": "", "a": ".implicit", "s": 0},
                              {"e": "", "a": ".gone", "s": 0}]},
        "nfx": {"name_list": [{"e": "", "a": "_gl.vs", "s": 0}]},
        "rawanimation": {"name_list": [{"e": "anim", "a": "ref", "s": 1025}]}})");
    project.Touch("m.explicit", "m.implicit", "level/m.implicit", "level/glow_gl.vs",
                  "level/hero.skel");
    project.Write("level/walk.rawanimation",
                  "<anim ref='hero.skel'><anim ref='none.skel'/>"
                  "<anim ref='walk.rawanimation'/></anim>");
    Check(kScene,
          {{"m.mat", 0x80, "m.mat", "m.implicit, m.explicit"},
           {"m.mat", 0x81, "level/m.mat, m.mat", "level/m.implicit, m.implicit, m.explicit"},
           {"glow", 0x10, "level/glow.nfx, glow.nfx, glow", "level/glow_gl.vs"},
           {"..\\level\\glow.nfx", 0x10, "level/glow.nfx, ..\\level\\glow.nfx", "level/glow_gl.vs"},
           {"walk.rawanimation", 0x400,
            "level/walk.rawanimation, walk.rawanimation, walk.rawanimation",
            "level/hero.skel, level/walk.rawanimation"}});
}

TEST(FileName, GoalWorkingNameDropsTheCandidates) {
    const test::Project project;
    const auto [candidates, companions] =
        FileNameProcessor::Execute(kScene, "/res/tex/a.png#x", 0x2B, PathGoal::WorkingName);
    EXPECT_THAT(candidates, testing::ElementsAre("tex/a.png"));
}

TEST(FileName, IsAPath) {
    const std::string longest = "a/" + std::string(258, 'b');
    for (const std::string text :
         {"a.png", "a/b", "a\\b", "/a", "../a b/c (1).PNG", "C:\\a", "C:/a.png", ".gitignore",
          "model.3ds", "v1.2a", "a.abcdefghijklmnop", "1/2", "\xC3\xA4.png", "data.png", "tex/"}) {
        EXPECT_TRUE(FileNameProcessor::IsAPath(text)) << text;
    }
    EXPECT_TRUE(FileNameProcessor::IsAPath(longest));
    for (const std::string text :
         {"", "wood", "1", "-1.5e3", "1.0E5", "+2.5f", "0.5 1.0e3, 2", "a.5", "a.", "a. b",
          "#ffffff99", "a.png#b", "http://a/b.png", "FILE:///a.png", "data:image/png;base64,AA/B",
          "DATA:,a.b", "a/b\nc.png", "a\t/b", "a.abcdefghijklmnopq"}) {
        EXPECT_FALSE(FileNameProcessor::IsAPath(text)) << text;
    }
    EXPECT_FALSE(FileNameProcessor::IsAPath(longest + "c"));
    EXPECT_FALSE(FileNameProcessor::IsAPath(std::string("a\0.png", 6)));
}

}  // namespace
}  // namespace vexa
