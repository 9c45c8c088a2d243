// Reading references from JSON files.

#include <typeinfo>

#include "tests/support/Reading.h"
#include "vxdependency/generators/DependencyAnimationJSON.h"
#include "vxdependency/generators/DependencyAnimationXML.h"

namespace vexa::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kConfig = R"({
    "doc": {"ignore": ["extras", "both"], "name_list": [
        {"n": "uri", "s": 1}, {"n": "uri", "s": 0}, {"n": "both", "s": 1},
        {"n": "model", "extra": ".png", "s": 513}, {"n": "model", "extra": "_n.png", "s": 513},
        {"n": "table", "s": 512}, {"n": "bound", "s": 129}]},
    "mat": {"name_list": [{"n": "", "extra": ".bin", "s": 0}, {"n": "", "extra": "_x.bin", "s": 4096},
                          {"n": "", "extra": ".none", "s": 0}]},
    "own": {"name_list": [{"n": "table", "s": 512}, {"n": "PATH", "s": 1}]},
    "animation": {"name_list": [{"n": "sound", "s": 1}]}})";

class JsonReading : public ReadingTest {
protected:
    JsonReading()
        : ReadingTest(R"({"animation": {"name_list": [{"e": "Event", "a": "sound", "s": 1}]},
                          "skeleton": {}})",
                      kConfig) {}
};

TEST_F(JsonReading, FindsTheReferencesThatRulesName) {
    project.Touch("a.png", "p/q.png", "dir/a.png", "dir/b.png", "dir/b_n.png", "dir/sub/c.png");
    const std::vector<ReadingCase> cases = {
        {"in file order, members before what they hold, repeated names as well",
         R"({"uri": "b.png", "o": {"uri": "sub/c.png", "x": "p/q.png"}, "uri": "a.png"})",
         {"dir/b.png", "dir/sub/c.png", "dir/a.png", "a.png"}},
        {"in arrays under the member's name, nested ones too",
         R"({"uri": ["b.png", 1, ["sub/c.png", {"uri": "a.png", "x": ["b_n.png"]}]], "x": ["p/q.png"]})",
         {"dir/b.png", "dir/sub/c.png", "dir/a.png", "a.png"}},
        {"in objects of a root array, whose strings have no name",
         R"(["b.png", [{"uri": "b.png"}]])",
         {"dir/b.png"}},
        {"extra texts", R"({"model": "b"})", {"dir/b.png", "dir/b_n.png"}},
        {"ignored members with all below, even where a rule names them",
         R"({"extras": {"uri": "b.png"}, "both": "a.png", "x": {"extras": [{"uri": "a.png"}]}})",
         {}},
        {"other kinds and empty names", R"({"uri": 1, "uri": null, "model": {}, "": "a.png"})", {}},
        {"nothing is a path of itself", R"({"other": "p/q.png"})", {}},
        {"a table of paths, from the root; what comes after it is not walked",
         R"({"u": "p/q.png", "extras": "dir/b.png", "table": "x", "w": "a.png", "n": {"uri": "b.png"}})",
         {"p/q.png", "a.png"}},
        {"a table hides nothing before it, around it or beside it",
         R"({"n": {"uri": "b.png"}, "m": {"table": "", "uri": "p/q.png"}, "uri": "sub/c.png"})",
         {"dir/b.png", "p/q.png", "dir/sub/c.png"}},
        {"a broken reference makes no table", R"({"uri": "none.png", "x": "a.png"})", {}},
        {"an array as a table",
         R"({"table": ["p/q.png", "a.png", 1], "uri": "b.png"})",
         {"p/q.png", "a.png", "dir/b.png"}},
        {"byte order mark and comments",
         "\xEF\xBB\xBF{/* c */\"uri\": // d\r\n\"b.png\"}",
         {"dir/b.png"}},
        {"deep nesting",
         Repeat("[{\"x\":", 100'000) + R"({"uri": "b.png"})" + Repeat("}]", 100'000),
         {"dir/b.png"}},
    };
    ExpectLists("dir/f.doc", cases);
    project.Write("dir/f.own", R"({"table": "b.png", "x": "a.png", "y": "no path"})");
    EXPECT_TRUE(Read("dir/f.own"));
    EXPECT_THAT(first, ElementsAre("dir/b.png", "a.png", "dir/a.png")) << "further rules for PATH";
}

TEST_F(JsonReading, ReportsCompanionAndBoundFiles) {
    project.Touch("v1.2/stone.bin", "v1.2/stone_x.bin", "v1.2/stone.old.mat");
    project.Write("v1.2/stone.old.mat", "{}");
    EXPECT_TRUE(Read("v1.2/stone.old.mat"));
    EXPECT_THAT(first, ElementsAre("v1.2/stone.bin", "v1.2/stone_x.bin"));
    EXPECT_THAT(Generator("x.mat").GetExplicitBindingFiles(""), ElementsAre("_x.bin"));
    EXPECT_THAT(Generator("x.mat").GetImplicitBindingFiles(""), ElementsAre(".bin", ".none"));
    project.Write("v1.2/f.doc", R"({"bound": ["stone.mat", "stone.mat"]})");
    EXPECT_TRUE(Read("v1.2/f.doc"));
    EXPECT_THAT(first, IsEmpty()) << "stone.mat is not there";
    EXPECT_THAT(second, ElementsAre("v1.2/stone.bin", "v1.2/stone_x.bin"));
}

TEST_F(JsonReading, TellsAnObserverWhereReferencesStand) {
    const NotingObserver observer;
    project.Write("f.doc", "{\n \"model\": \"m\",\n \"t\": {\"f\": \"a/b\", \"table\": \"\"}}");
    project.Write("s.mat", "{}");
    EXPECT_TRUE(Read("f.doc"));
    EXPECT_TRUE(Read("s.mat"));
    EXPECT_THAT(observer.references, ElementsAre("f.doc:2 member \"model\" m missing",
                                                 "f.doc:2 member \"model\" m missing",
                                                 "f.doc:3 member \"f\" (path table) a/b missing"));
    EXPECT_THAT(observer.absent, ElementsAre("s.bin", "s_x.bin", "s.none"));
}

TEST_F(JsonReading, UnreadableFilesAreLogged) {
    project.Write("dir/f.doc", "{\"uri\":\n ]");
    ExpectRefusals("dir/f.doc", "JSON: line 2, column 2: invalid value");
}

TEST_F(JsonReading, WhatAnAnimationHoldsTellsItsGenerator) {
    project.Touch("a.wav");
    const std::string json = R"({"sound": "a.wav"})";
    const std::pair<std::string, bool> cases[] = {{"\xEF\xBB\xBF // c\n" + json, true},
                                                  {"\xEF\xBB\xBF<Event sound='a.wav'/>", false},
                                                  {R"({"sound": )", false}};
    for (const auto& [text, isJson] : cases) {
        project.Write("dir.x/f.animation", text);
        project.Write("dir.x/f.skeleton", text);
        for (const std::string path : {"dir.x/f", "dir.x\\f"}) {
            EXPECT_EQ(typeid(Generator(path + ".animation")),
                      isJson ? typeid(CDependencyAnimationJSON) : typeid(CDependencyAnimationXML))
                << text;
            // Of the skeletons, only those in XML are configured.
            EXPECT_EQ(Manager().HasDependencyGenerator(path + ".skeleton"), !isJson);
        }
        const bool readable = text.find("a.wav") != std::string::npos;
        EXPECT_EQ(Read("dir.x/f.animation"), readable);
        EXPECT_EQ(first, readable ? List{"a.wav"} : List{}) << text;
        EXPECT_EQ(Manager().Regenerate("dir.x/f.skeleton", "").generated, !isJson);
    }
    EXPECT_EQ(typeid(Generator("gone.animation")), typeid(CDependencyAnimationXML));
    EXPECT_EQ(Manager().GetDependencyGenerator("f.Animation"), nullptr);
}

}  // namespace
}  // namespace vexa::test
