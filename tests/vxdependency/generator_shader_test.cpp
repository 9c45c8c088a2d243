// Reading shader sources, effects and the shaders of surfaces, and following what they lead to.

#include <rapidcheck.h>

#include <map>

#include "tests/support/Reading.h"
#include "vxdependency/generators/ClosureWalk.h"
#include "vxdependency/generators/DependencyNfx.h"

namespace vexa::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kConfig =
    R"({"surf": {"name_list": [{"e": "use", "a": "file", "s": 1}, {"e": "use", "a": "also", "s": 1}]},
        "spr": {"name_list": [{"e": "use", "a": "file", "s": 1}]}})";

std::string Including(const List& names) {
    std::string text;
    for (const std::string& name : names) text += "#include \"" + name + "\"\n";
    return text;
}

class ShaderReading : public ReadingTest {
protected:
    ShaderReading() : ReadingTest(kConfig) {}

    List ListOf(const std::string& path) {
        first.clear();
        EXPECT_TRUE(Generator(path).GenerateDependency(path, first, second));
        EXPECT_THAT(second, IsEmpty());
        return first;
    }

    LogCapture log;
};

TEST_F(ShaderReading, ListsDirectIncludesThatExist) {
    project.Touch("fx/a.h", "fx/sub/b.h", "top.h", "fx/top.h", "fx/nul.h");
    const std::string text = Including({"a.h", "no.h", "sub/b.h", "a.h", "../top.h", "sub"});
    project.Write("fx/x.ps", text + std::string(1, '\0') + Including({"nul.h"}));
    EXPECT_THAT(ListOf("fx\\x.ps"),
                ElementsAre("fx\\a.h", "fx\\sub/b.h", "fx\\a.h", "fx\\../top.h"));
    EXPECT_THAT(ListOf("fx/x.ps"), ElementsAre("fx/x.ps\\../top.h"))
        << "only a backslash ends the directory";
    EXPECT_THAT(Manager().GenerateDependency("fx/x.ps", ""),
                ElementsAre("fx/a.h", "fx/sub/b.h", "top.h"));
}

TEST_F(ShaderReading, OnlyTheManagerTellsOfUnreadableFiles) {
    List list{"x"};
    for (const std::string key : {"gone.vs", "gone.nfx"}) {
        EXPECT_FALSE(Manager().GetDependencyGenerator(key)->GenerateDependency(key, list, list));
        EXPECT_THAT(log.TakeTexts(), IsEmpty());
        EXPECT_THAT(Manager().GenerateDependency(key, ""), IsEmpty());
        EXPECT_THAT(log.TakeTexts(), ElementsAre(key + ": cannot be read: there is no such file"));
    }
    EXPECT_THAT(list, ElementsAre("x"));
}

TEST_F(ShaderReading, EffectsListAllThatTheyLeadTo) {
    project.Touch("fx/c.ps", "fx/v_gl.vs", "fx/w_metal.1.vs", "a.b_gl.vs", "a.b.fx", "a.fx");
    project.Write("fx/a.ps", Including({"c.ps"}));
    project.Write("fx/v.vs", Including({"c.ps", "none.h"}));
    project.Write("fx/e.nfx", Including({"a.ps", " none.h"}) +
                                  "texture T < string R = \"t/x.png\"; string U = \"x\"; >;\n"
                                  "float F < string R = \"t/y.png\"; >;\n"
                                  "technique L { pass P { VertexShader = \"fx/v.vs\"; }\n"
                                  "pass Q { VertexShader = \"/fx/w.1.vs\"; } }\n$");
    const NotingObserver observer;
    EXPECT_THAT(ListOf("fx\\e.nfx"),
                ElementsAre("fx/w_metal.1.vs", "fx/v_gl.vs", "fx/v.vs", "fx\\c.ps", "t/x.png",
                            "fx\\none.h", "fx\\a.ps", "fx\\c.ps"));
    EXPECT_THAT(log.TakeTexts(), ElementsAre(testing::StartsWith("fx\\e.nfx: not all ")));
    EXPECT_THAT(observer.references,
                ElementsAre("fx\\e.nfx:1 #include a.ps", "fx\\e.nfx:2 #include none.h missing",
                            "fx\\e.nfx:3 texture T, annotation R t/x.png missing",
                            "fx\\e.nfx:5 technique L, pass P: VertexShader fx/v.vs",
                            "fx\\e.nfx:6 technique L, pass Q: VertexShader /fx/w.1.vs missing",
                            "fx\\v.vs:1 #include c.ps", "fx\\v.vs:2 #include none.h missing",
                            "fx\\a.ps:1 #include c.ps"));
    EXPECT_THAT(observer.absent, ElementsAre("fx/v_metal.vs", "fx/w.1.vs", "fx/w_gl.1.vs"));
    EXPECT_THAT(observer.readThrough,
                ElementsAre("fx/w_metal.1.vs", "fx/v_gl.vs", "fx/v.vs", "fx/c.ps", "fx/a.ps"));

    auto& effects = dynamic_cast<CDependencyNfx&>(*Manager().GetDependencyGenerator("e.nfx"));
    EXPECT_THAT(effects.GetIncludeNames("fx\\e.nfx"), ElementsAre("a.ps", "none.h"));
    EXPECT_NE(Manager().GetDependencyGenerator("e.spx"), &effects);
    List bound;
    Manager().GetImplicitBindingFiles("a.b.nfx", bound);
    EXPECT_THAT(bound, ElementsAre("a.b_gl.vs", "a.b.fx"));
}

TEST_F(ShaderReading, FollowsWhatIsNamedWithALeadingSlash) {
    project.Touch("s/b.png");
    project.Write("s/a.spr", "<use file='b.png'/>");
    project.Write("fx/e.nfx", "texture T < string R = \"/s/a.spr\"; >;");
    EXPECT_THAT(Manager().GenerateDependency("fx/e.nfx", ""), ElementsAre("s/a.spr", "s/b.png"));
}

TEST_F(ShaderReading, SurfacesListWhatTheirShadersInclude) {
    project.Touch("s/t.png", "s/x.hlsl.bak");
    project.Write("s/x.hlsl", Including({"y.hlsl", "t.png"}));
    project.Write("s/y.hlsl", Including({"t.png", "other.surf"}));
    project.Write("s/other.surf", "<use file='x.hlsl'/>");
    project.Write("s/m.surf", "<use file='x.hlsl' also='x.hlsl.bak'/>");
    EXPECT_THAT(ListOf("s\\m.surf"),
                ElementsAre("s/x.hlsl", "s/x.hlsl.bak", "s\\t.png", "s\\y.hlsl", "s\\other.surf"));
    EXPECT_THAT(log.TakeTexts(),
                ElementsAre(testing::EndsWith(": s/x.hlsl > s/y.hlsl > s/other.surf > s/x.hlsl")));
}

TEST_F(ShaderReading, RingsAreNotFollowedRound) {
    for (const std::string extension : {".ps", ".nfx"}) {
        for (const int length : {1, 2, 50}) {
            std::string ring = "r/0" + extension, last;
            List expected;
            for (int i = 0; i < length; ++i) {
                const std::string next = std::to_string((i + 1) % length) + extension;
                project.Write("r/" + std::to_string(i) + extension,
                              Including({next, "../r/" + next}));
                ring += " > r/" + next;
                expected.push_back("r/" + std::to_string(i) + extension);
            }
            project.Write("r/e.nfx", Including({"0" + extension}));
            EXPECT_THAT(Manager().GenerateDependency("r/e.nfx", ""),
                        testing::UnorderedElementsAreArray(expected));
            EXPECT_THAT(log.TakeTexts(), testing::Contains(testing::EndsWith(": " + ring)));
        }
    }
}

// What each file includes, by path. The lists of effects are closures.
using Includes = std::map<std::string, List>;

List ListWithoutGuards(const Includes& files, const std::string& file, std::size_t limit) {
    List stack = files.at(file), list;
    if (!file.ends_with(".nfx")) return stack;
    while (!stack.empty() && list.size() < limit) {
        list.push_back(stack.back());
        stack.pop_back();
        const List below = ListWithoutGuards(files, list.back(), limit);
        stack.insert(stack.end(), below.begin(), below.end());
    }
    return list;
}

void WriteAll(const Project& project, const Includes& files) {
    for (const auto& [path, includes] : files) {
        List names;
        for (const std::string& include : includes) names.push_back(include.substr(2));
        project.Write("d/" + path.substr(2), Including(names));
    }
}

TEST_F(ShaderReading, GuardsDoNotShowWithoutRings) {
    rc::check([&] {
        List paths;
        for (int i = 0; i < 8; ++i) {
            paths.push_back("d\\" + std::to_string(i) + (i % 3 == 0 ? ".nfx" : ".vs"));
        }
        Includes files;
        for (std::size_t i = 0; i < paths.size(); ++i) {
            const List below(paths.begin() + static_cast<std::ptrdiff_t>(i) + 1, paths.end());
            auto& includes = files[paths[i]];
            if (!below.empty())
                includes = *rc::gen::resize(4, rc::gen::container<List>(rc::gen::elementOf(below)));
        }
        const List expected = ListWithoutGuards(files, paths[0], ClosureWalk::kLimit + 1);
        RC_PRE(expected.size() <= ClosureWalk::kLimit);
        WriteAll(project, files);
        RC_ASSERT(ListOf(paths[0]) == expected);
        RC_ASSERT(log.TakeTexts() == List());
    });
}

TEST_F(ShaderReading, NestedDiamondsAreCutAtTheLimit) {
    for (const std::string extension : {".vs", ".nfx"}) {
        Includes files;
        const auto path = [&](char side, int level) {
            return "d\\" + (side + std::to_string(level)) + extension;
        };
        for (int i = 0; i < 40; ++i) {
            for (const char side : {'a', 'b'}) {
                files[path(side, i)] = {path('a', i + 1), path('b', i + 1)};
            }
        }
        files[path('a', 40)] = files[path('b', 40)] = {};
        files["d\\e.nfx"] = {path('a', 0)};
        WriteAll(project, files);
        List list = ListOf("d\\e.nfx");
        EXPECT_THAT(log.TakeTexts(), ElementsAre(HasSubstr("more than 65536 entries")));
        EXPECT_LT(list.size(), ClosureWalk::kLimit * 3);
        if (extension == ".vs") {
            list.resize(ClosureWalk::kLimit);
            EXPECT_EQ(list, ListWithoutGuards(files, "d\\e.nfx", list.size()));
        }
        EXPECT_THAT(Manager().GenerateDependency("d/e.nfx", ""), testing::SizeIs(81));
        log.TakeTexts();
    }
}

}  // namespace
}  // namespace vexa::test
