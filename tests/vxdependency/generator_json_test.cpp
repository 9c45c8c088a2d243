// Reading references from JSON files.

#include <gmock/gmock.h>

#include <typeinfo>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "vxdependency/generators/DependencyAnimationJSON.h"
#include "vxdependency/generators/DependencyAnimationXML.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {
namespace {

using List = CDependencyBase::List;
using testing::ElementsAre;
using testing::HasSubstr;
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

class JsonReading : public testing::Test {
protected:
    CDependencyBase& Generator(const std::string& key) {
        return *CDependencyManager::GetSingletonPtr()->GetDependencyGenerator(key);
    }
    bool Read(const std::string& key) {
        first.clear();
        second.clear();
        return Generator(key).GenerateDependency(GeneratorForm(key), first, second);
    }

    test::Project project{R"({"animation": {"name_list": [{"e": "Event", "a": "sound", "s": 1}]},
                              "skeleton": {}})",
                          kConfig};
    List first;
    List second;
};

std::string Repeat(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

TEST_F(JsonReading, FindsTheReferencesThatRulesName) {
    project.Touch("a.png", "p/q.png", "dir/a.png", "dir/b.png", "dir/b_n.png", "dir/sub/c.png");
    struct Case {
        const char* what;
        std::string text;
        List expected;
    };
    const std::vector<Case> cases = {
        {"in file order, members before what they hold, repeated names as well",
         R"({"uri": "b.png", "o": {"uri": "sub/c.png", "x": "p/q.png"}, "uri": "a.png"})",
         {"dir/b.png", "dir/sub/c.png", "dir/a.png", "a.png"}},
        {"in arrays under the member's name, nested ones too",
         R"({"uri": ["b.png", 1, ["sub/c.png", {"uri": "a.png", "x": ["b_n.png"]}]], "x": ["p/q.png"]})",
         {"dir/b.png", "dir/sub/c.png", "dir/a.png", "a.png"}},
        {"in objects of a root array, whose strings have no name",
         R"(["b.png", [{"uri": "b.png"}]])",
         {"dir/b.png"}},
        {"extra texts are appended", R"({"model": "b"})", {"dir/b.png", "dir/b_n.png"}},
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
        {"a scalar root", R"("b.png")", {}},
        {"deep nesting",
         Repeat("[{\"x\":", 100'000) + R"({"uri": "b.png"})" + Repeat("}]", 100'000),
         {"dir/b.png"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        project.Write("dir/f.doc", c.text);
        EXPECT_TRUE(Read("dir/f.doc"));
        EXPECT_EQ(first, c.expected);
        EXPECT_THAT(second, IsEmpty());
    }
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
    struct Observer final : IReferenceObserver {
        void OnReference(const ReferenceReport& report) override {
            const ReferencePlace place = report.site.Describe();
            lines.push_back(std::to_string(place.line) + ":" + std::to_string(place.offset) + " " +
                            place.rule + " " + report.text);
        }
        void OnAbsent(const std::string& key) override { lines.push_back("absent " + key); }
        void OnReadThrough(const std::string&) override {}
        std::vector<std::string> lines;
    } observer;
    const ObserverUse use(&observer);
    project.Write("f.doc", "{\n \"model\": \"m\",\n \"t\": {\"f\": \"a/b\", \"table\": \"\"}}");
    project.Write("s.mat", "{}");
    EXPECT_TRUE(Read("f.doc"));
    EXPECT_TRUE(Read("s.mat"));
    EXPECT_THAT(observer.lines, ElementsAre("2:13 member \"model\" m", "2:13 member \"model\" m",
                                            "3:30 member \"f\" (path table) a/b", "absent s.bin",
                                            "absent s_x.bin", "absent s.none"));
}

TEST_F(JsonReading, UnreadableFilesAreLogged) {
    project.Write("dir/f.doc", "{\"uri\":\n ]");
    CDependencyBase& generator = Generator("f.doc");
    first = {"x", "x"};
    test::LogCapture log;
    EXPECT_FALSE(generator.GenerateDependency("dir\\f.doc", first, second));
    EXPECT_FALSE(generator.GenerateDependency("dir\\gone.doc", first, second));
    EXPECT_FALSE(generator.GenerateDependency("..\\out.doc", first, second));
    EXPECT_THAT(log.TakeTexts(),
                ElementsAre("dir/f.doc: cannot be read as JSON: line 2, column 2: invalid value",
                            "dir/gone.doc: cannot be read: there is no such file",
                            HasSubstr("..\\out.doc: cannot be read")));
    EXPECT_THAT(first, ElementsAre("x", "x"));
}

TEST_F(JsonReading, WhatAnAnimationHoldsTellsItsGenerator) {
    project.Touch("a.wav");
    const std::string json = R"({"sound": "a.wav"})";
    const std::vector<std::pair<std::string, bool>> cases = {
        {json, true},
        {"\xEF\xBB\xBF // c\n" + json, true},
        {"<Event sound='a.wav'/>", false},
        {"\xEF\xBB\xBF<Event sound='a.wav'/>", false},
        {R"({"sound": )", false},
        {"", false},
    };
    CDependencyManager& manager = *CDependencyManager::GetSingletonPtr();
    for (const auto& [text, isJson] : cases) {
        project.Write("dir.x/f.animation", text);
        project.Write("dir.x/f.skeleton", text);
        for (const std::string& path :
             {std::string("dir.x/f"), std::string("dir.x\\f"), project.Resource("dir.x/f")}) {
            EXPECT_EQ(typeid(Generator(path + ".animation")),
                      isJson ? typeid(CDependencyAnimationJSON) : typeid(CDependencyAnimationXML))
                << text;
            EXPECT_TRUE(manager.HasDependencyGenerator(path + ".animation"));
            // Of the skeletons, only those in XML are configured.
            EXPECT_EQ(manager.GetDependencyGenerator(path + ".skeleton") != nullptr, !isJson);
            EXPECT_EQ(manager.HasDependencyGenerator(path + ".skeleton"), !isJson);
        }
        const bool readable = text.find("a.wav") != std::string::npos;
        EXPECT_EQ(Read("dir.x/f.animation"), readable);
        EXPECT_EQ(first, readable ? List{"a.wav"} : List{}) << text;
        EXPECT_EQ(manager.Regenerate("dir.x/f.skeleton", "").generated, !isJson);
    }
    EXPECT_EQ(typeid(Generator("gone.animation")), typeid(CDependencyAnimationXML));
    EXPECT_EQ(manager.GetDependencyGenerator("f.Animation"), nullptr);
}

}  // namespace
}  // namespace vexa
