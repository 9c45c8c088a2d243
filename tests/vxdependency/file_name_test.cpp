// The reading side of FileNameProcessor.

#include <gmock/gmock.h>

#include "tests/support/Project.h"
#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {
namespace {

using List = FileNameProcessor::List;

struct Case {
    const char* file;
    std::string text;
    int mask;
    List candidates;
    List companions = {};
};

void Check(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.text.substr(0, 80) << " in " << c.file << ", mask 0x"
                                        << std::hex << c.mask);
        const auto [candidates, companions] =
            FileNameProcessor::Execute(c.file, c.text, c.mask, PathGoal::All);
        EXPECT_EQ(candidates, c.candidates);
        EXPECT_EQ(companions, c.companions);
    }
}

constexpr const char* kScene = "level\\scene.xml";

TEST(FileName, BitsWithoutStrategyLeaveTheTextAlone) {
    const test::Project project;
    for (const int mask : {0, 0x4, 0x40, 0x200, 0x1000, 0x1244}) {
        Check({{kScene, "tex\\a.png#x", mask, {"tex\\a.png#x"}}, {kScene, "", mask, {""}}});
    }
}

TEST(FileName, ReadsRelativeToTheFileAndToTheRoot) {
    const test::Project project;
    const std::string huge(3'000'000, 'x');
    Check({
        {kScene, "tex/a.png", 0x1, {"level/tex/a.png", "tex/a.png"}},
        {"level/scene.xml", "tex/a.png", 0x1, {"level/tex/a.png", "tex/a.png"}},
        {kScene, "..\\tex\\a.png", 0x1, {"tex/a.png", "..\\tex\\a.png"}},
        {"a\\b\\c.xml", ".\\./d//e.png", 0x1, {"a/b/d/e.png", ".\\./d//e.png"}},
        {".\\top.xml", "a.png", 0x1, {"a.png", "a.png"}},
        {kScene, "/tex/a.png", 0x1, {"level/tex/a.png", "/tex/a.png"}},
        {kScene, "../../a.png", 0x1, {"../../a.png"}},
        {kScene, "", 0x1, {""}},
        {kScene, huge, 0x1, {huge}},
        {kScene, "\\tex\\..\\a.png", 0x2, {"a.png", "\\tex\\..\\a.png"}},
        {kScene, "wood", 0x2, {"wood"}},
        {kScene, "../a.png", 0x2, {"../a.png"}},
        {kScene, project.Resource("tex/a.png"), 0x2, {"tex/a.png", project.Resource("tex/a.png")}},
        // The root's reading comes first, though its bit is the larger one.
        {kScene, "tex/a.png", 0x3, {"tex/a.png", "level/tex/a.png", "tex/a.png"}},
    });
}

TEST(FileName, AdjustsTheWorkingName) {
    const test::Project project;
    Check({
        {kScene, "/tex/a.png", 0x8, {"tex/a.png"}},
        {kScene, "res/tex/a.png", 0x8, {"tex/a.png"}},
        {kScene, "/res/tex/a.png", 0x8, {"tex/a.png"}},
        {kScene, "\\res\\\\tex\\a.png", 0x8, {"tex\\a.png"}},
        {kScene, "resource/a.png", 0x8, {"resource/a.png"}},
        {kScene, "tex/res/a.png", 0x8, {"tex/res/a.png"}},
        {kScene, "///", 0x8, {""}},
        {kScene, "a.png#b?c", 0x20, {"a.png"}},
        {kScene, "a.png|b#c", 0x20, {"a.png"}},
        {kScene, "/a.png?v=2", 0x29, {"level/a.png?v=2", "level/a.png", "a.png"}},
        {kScene, "a#b.png", 0x21, {"level/a#b.png", "level/a", "a"}},
        {kScene, "#ffffff99", 0x21, {"level/#ffffff99", ""}},
        // What the referring file's directory holds is no selector.
        {"c#\\x.xml", "a.png", 0x21, {"c#/a.png", "a.png"}},
        {"c#\\x.xml", "a.png#1", 0x21, {"c#/a.png#1", "c#/a.png", "a.png"}},
        {"level\\x.xml",
         "a.png?" + std::string(300, 'q'),
         0x21,
         {"level/a.png?" + std::string(300, 'q'), "level/a.png", "a.png"}},
    });
}

TEST(FileName, FindsImagesUnderAnotherExtension) {
    const test::Project project;
    project.Touch("tex/a.png", "tex/b.dds", "tex/b.tga", "level/c.ktx", "c.jpg", "level/d.png",
                  "d.dds", "tex/e.png");
    Check({
        {kScene, "tex/a.png", 0x100, {"tex/a.png"}},
        {kScene, "tex/b.png", 0x100, {"tex/b.dds"}},
        {kScene, "tex\\b.PNG", 0x102, {"tex/b.PNG", "tex/b.dds", "tex\\b.dds"}},
        {kScene, "tex/e.PNG", 0x100, {"tex/e.png"}},
        {kScene, "c.png", 0x101, {"level/c.png", "level/c.ktx", "c.jpg"}},
        {kScene, "tex/none.png", 0x102, {"tex/none.png", "tex/none.png"}},
        {kScene, "tex/b.txt", 0x100, {"tex/b.txt"}},
        {kScene, "tex/b", 0x100, {"tex/b"}},
        {kScene, "tex/b.png#1", 0x120, {"tex/b.dds"}},
        // One reading is there as written: the converted image of the other is not meant.
        {kScene, "d.png", 0x101, {"level/d.png", "d.png"}},
    });
}

TEST(FileName, FindsTheFilesOfATerrainFolder) {
    const test::Project project;
    project.Touch("level/land/geod.gax", "level/land/geod.bson", "land/geod.gaj", "level/geod.gaj");
    Check({
        {kScene,
         "land\\",
         0x800,
         {"level/land/geod.bson", "level/land/geod.gax", "land/geod.gaj", "land\\"}},
        {kScene, ".", 0x800, {"level/geod.gaj", "."}},
        {kScene, "sea", 0x800, {"sea"}},
        {kScene, "", 0x800, {""}},
    });
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
    Check({
        {kScene, "m.mat", 0x80, {"m.mat"}, {"m.implicit", "m.explicit"}},
        {kScene,
         "m.mat",
         0x81,
         {"level/m.mat", "m.mat"},
         {"level/m.implicit", "m.implicit", "m.explicit"}},
        {kScene, "m.other", 0x80, {"m.other"}},
        {kScene, "glow", 0x10, {"level/glow.nfx", "glow.nfx", "glow"}, {"level/glow_gl.vs"}},
        {kScene,
         "..\\level\\glow.nfx",
         0x10,
         {"level/glow.nfx", "..\\level\\glow.nfx"},
         {"level/glow_gl.vs"}},
        {kScene,
         "walk.rawanimation",
         0x400,
         {"level/walk.rawanimation", "walk.rawanimation", "walk.rawanimation"},
         {"level/hero.skel", "level/walk.rawanimation"}},
        {kScene, "walk.animation", 0x400, {"walk.animation"}},
    });
}

TEST(FileName, GoalWorkingNameDropsTheCandidates) {
    const test::Project project;
    const auto [candidates, companions] =
        FileNameProcessor::Execute(kScene, "/res/tex/a.png#x", 0x2B, PathGoal::WorkingName);
    EXPECT_THAT(candidates, testing::ElementsAre("tex/a.png"));
}

TEST(FileName, IsAPath) {
    const std::string longest = "a/" + std::string(258, 'b');
    for (const std::string& text :
         {std::string("a.png"), std::string("a/b"), std::string("a\\b"), std::string("/a"),
          std::string("../a b/c (1).PNG"), std::string("C:\\a"), std::string("C:/a.png"),
          std::string(".gitignore"), std::string("model.3ds"), std::string("v1.2a"),
          std::string("a.rawanimation"), std::string("a.abcdefghijklmnop"), std::string("1/2"),
          std::string("\xC3\xA4.png"), std::string("data.png"), std::string("tex/"), longest}) {
        EXPECT_TRUE(FileNameProcessor::IsAPath(text)) << text;
    }
    for (const std::string& text : {std::string(""),
                                    std::string("wood"),
                                    std::string("1"),
                                    std::string("1.5"),
                                    std::string("-1.5e3"),
                                    std::string("1.0E5"),
                                    std::string("+2.5f"),
                                    std::string("0.5 1.0e3, 2"),
                                    std::string("a.5"),
                                    std::string("a."),
                                    std::string("a. b"),
                                    std::string("#ffffff99"),
                                    std::string("a.png#b"),
                                    std::string("http://a/b.png"),
                                    std::string("FILE:///a.png"),
                                    std::string("data:image/png;base64,AA/B"),
                                    std::string("DATA:,a.b"),
                                    std::string("a/b\nc.png"),
                                    std::string("a\t/b"),
                                    std::string("a\0.png", 6),
                                    std::string("a.abcdefghijklmnopq"),
                                    longest + "c"}) {
        EXPECT_FALSE(FileNameProcessor::IsAPath(text)) << text;
    }
}

}  // namespace
}  // namespace vexa
