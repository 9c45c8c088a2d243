// The configuration files of the config-driven generators.

#include <gmock/gmock.h>

#include <stdexcept>
#include <typeinfo>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "vxdependency/generators/DependencyJSON.h"
#include "vxdependency/generators/DependencySurf.h"
#include "vxdependency/generators/GeneratorConfig.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

CDependencyBase* Generator(const std::string& extension) {
    return CDependencyManager::GetSingletonPtr()->GetDependencyGenerator("x." + extension);
}

// The strategy of the rule for an attribute of an element; -1 for none.
int Strategy(const std::string& extension, const std::string& element,
             const std::string& attribute) {
    const RuleData* const rule = Generator(extension)->FindRuleEntry(element, attribute);
    return rule ? rule->strategy : -1;
}

TEST(Config, NormalisesElementNames) {
    const std::pair<std::string, std::string> cases[] = {
        {"Layer_7", "Layer_*"}, {"Layer_", "Layer_*"}, {"Layer_*", "Layer_*"}, {"a1b22", "a1b*"},
        {"L_1_2", "L_1_*"},     {"_5", "_*"},          {"123", "123"},         {"a_b", "a_b"}};
    for (const auto& [name, expected] : cases) {
        std::string key = name;
        NormaliseElementName(key);
        EXPECT_EQ(key, expected) << name;
    }
}

TEST(Config, CreatesOneGeneratorPerKeyOfItsClass) {
    const test::Project project(R"({"": {"name_list": [{"e": "a", "b": "b", "c": 1}]},
        "surf": {}, "scn": {}, "animconfig": {}, "animation": {}, "skeleton": {},
        "Surf": {}, "twice": {"name_list": [{"e": "a", "b": "first", "c": 1}]},
        "twice": {"name_list": [{"e": "a", "b": "second", "c": 1}]}, "number": 7})");
    LoadXmlGenerators(project.XmlConfig());

    EXPECT_NE(dynamic_cast<CDependencySurf*>(Generator("surf")), nullptr);
    EXPECT_EQ(typeid(*Generator("Surf")), typeid(CDependencyXML));
    EXPECT_EQ(Strategy("twice", "a", "first"), 1);
    EXPECT_EQ(Strategy("twice", "a", "second"), -1);

    std::vector<std::string> extensions;
    CDependencyManager::GetSingletonPtr()->GetRegisterExtList(extensions);
    EXPECT_THAT(extensions,
                testing::UnorderedElementsAre("surf", "scn", "animconfig", "animation", "skeleton",
                                              "Surf", "twice", "twice", "number"));
}

TEST(Config, ReadsRulesByPositionAtAnyDepth) {
    const test::Project project(R"({"t": {
        "ignore": ["Layer", {"name_list": [{"1": "Ignored", "2": "a", "3": 1}]}],
        "name_list": [
            {"1": "Item_*", "2": "file", "3": 65, "4": "more"},
            {"3": "Item_*", "2": "icon", "1": 2},
            {"1": "Item_*", "2": "file", "3": 99},
            {"1": "", "2": ".bin", "3": 0}, {"1": "", "2": ".lod", "3": 4097},
            {"1": "", "2": ".idx", "3": 1},
            {"1": "Wrong", "2": 5, "3": "1"}, {"1": "Big", "2": "a", "3": 4294967296}],
        "deep": {"deeper": [[{"name_list": [{"1": "Nested", "2": "a", "3": 7}]}]]},
        "also": {"name_list": {"1": "NoArray", "2": "a", "3": 1}}}})");
    LoadXmlGenerators(project.XmlConfig());

    EXPECT_EQ(Strategy("t", "Item_3", "file"), 65) << "the first of two";
    EXPECT_EQ(Strategy("t", "Root/Group/Item_", "icon"), 2);
    EXPECT_EQ(Strategy("t", "Item_3/", "icon"), 2);
    EXPECT_EQ(Strategy("t", "Item", "file"), -1);
    EXPECT_EQ(Strategy("t", "Item_3", "File"), -1);
    EXPECT_EQ(Strategy("t", "", ".bin"), -1) << "no component";
    EXPECT_EQ(Strategy("t", "Wrong", ""), 0);
    EXPECT_EQ(Strategy("t", "Big", "a"), 0);
    EXPECT_EQ(Strategy("t", "Nested", "a"), 7);
    EXPECT_EQ(Strategy("t", "NoArray", "a"), -1);
    EXPECT_NE(Generator("t")->FindRuleEntry("Ignored", "a"), nullptr) << "\"ignore\" has no effect";
    EXPECT_THAT(Generator("t")->GetImplicitBindingFiles("any"), ElementsAre(".bin", ".idx"));
    EXPECT_THAT(Generator("t")->GetExplicitBindingFiles("any"), ElementsAre(".lod"));
}

TEST(Config, TooFewMembersEndTheLoaderButKeepWhatWasMade) {
    const test::Project project;
    for (const std::string broken : {"{}", "{\"1\": \"a\", \"2\": \"b\"}", "\"text\""}) {
        const std::string path = project.Directory().Write(
            "config.json", R"({"first": {"name_list": [{"1": "a", "2": "b", "3": 1}]},
            "broken": {"name_list": [{"1": "a", "2": "kept", "3": 1},
            )" + broken + R"(]}, "never": {}})");
        test::LogCapture log;
        EXPECT_THAT([&] { LoadXmlGenerators(path); },
                    testing::ThrowsMessage<std::out_of_range>("invalid vector subscript"));
        EXPECT_THAT(log.TakeTexts(),
                    ElementsAre(path + ": line 3: a rule of \"broken\" has fewer than three "
                                       "members"));
        EXPECT_EQ(Strategy("first", "a", "b"), 1);
        EXPECT_EQ(Strategy("broken", "a", "kept"), 1);
        EXPECT_EQ(Generator("never"), nullptr);
    }
}

TEST(Config, UnusableFilesSaySoAndMakeNoGenerators) {
    const test::Project project;
    test::LogCapture log;
    EXPECT_EQ(LoadXmlGenerators(project.Directory().Path("none.json")), "");
    const std::pair<const char*, const char*> cases[] = {
        {"{\"a\": {},\n\"b\"", "line 2"},
        {"[{\"a\": {}}]", ": not an object with one member per extension"}};
    for (const auto& [text, message] : cases) {
        const std::string path = project.Directory().Write("config.json", text);
        EXPECT_THAT(LoadXmlGenerators(path),
                    testing::AllOf(testing::StartsWith(path + ": "), HasSubstr(message)));
    }
    EXPECT_THAT(log.TakeTexts(), IsEmpty());
    const std::string path = project.Directory().Write(
        "config.json", R"({"a": {"name_list": [{"1": "Tex1", "2": "b", "3": 1}]}})");
    EXPECT_EQ(LoadXmlGenerators(path), "");
    EXPECT_THAT(log.TakeTexts(),
                ElementsAre(HasSubstr(
                    ": line 1: no element matches \"Tex1\": a numbered name is written \"Tex*\"")));
    std::vector<std::string> extensions;
    CDependencyManager::GetSingletonPtr()->GetRegisterExtList(extensions);
    EXPECT_THAT(extensions, ElementsAre("a")) << "of the last, whose rule is merely useless";
}

TEST(Config, ReadsJsonRules) {
    const test::Project project("{}", R"({"": {"name_list": [{}]}, "animation": {}, "skeleton": {},
        "t": {"ignore": ["skip", 5], "name_list": [{"any": "", "extra": ".bin", "s": 0}],
              "deep": [[{"name_list": [{"any": "", "extra": ".lod", "s": 4097}]}]]},
        "list": [{"name_list": [{"any": "", "extra": ".bin", "s": 0}]}],
        "t": {"name_list": [{"any": "", "extra": ".never", "s": 0}]}})");
    EXPECT_EQ(typeid(*Generator("t")), typeid(CDependencyJSON));
    EXPECT_EQ(Generator("skeleton"), nullptr) << "x.skeleton is not there: no JSON";
    EXPECT_THAT(Generator("t")->GetImplicitBindingFiles("any"), ElementsAre(".bin"));
    EXPECT_THAT(Generator("t")->GetExplicitBindingFiles("any"), ElementsAre(".lod"));
    EXPECT_THAT(Generator("list")->GetImplicitBindingFiles("any"), IsEmpty());
    EXPECT_EQ(Generator("t")->FindRuleEntry("any", "PATH"), nullptr);
    std::vector<std::string> extensions;
    CDependencyManager::GetSingletonPtr()->GetRegisterExtList(extensions);
    EXPECT_THAT(extensions, testing::IsSupersetOf({"animation", "skeleton", "t", "t", "list"}));
}

TEST(Config, ShortJsonRulesEndTheLoader) {
    const test::Project project;
    for (const std::string broken :
         {R"({"n": "a"})", R"({"n": "a", "extra": ".png"})", "7", "{}"}) {
        const std::string path = project.Directory().Write(
            "config.json", "{\"j\": {\"name_list\": [\n{\"n\": \"a\", \"extra\": 3, \"s\": 1},\n" +
                               broken + "]}, \"never\": {}}");
        test::LogCapture log;
        EXPECT_THROW(LoadJsonGenerators(path), std::out_of_range) << broken;
        EXPECT_THAT(log.TakeTexts(),
                    ElementsAre(path + ": line 2: the extra text of \"a\" has no effect: its "
                                       "strategy lacks 512",
                                path + ": line 3: a rule of \"j\" has fewer than two members, or "
                                       "fewer than three with \"extra\""));
        EXPECT_NE(Generator("j"), nullptr);
        EXPECT_EQ(Generator("never"), nullptr);
    }
}

}  // namespace
}  // namespace vexa
