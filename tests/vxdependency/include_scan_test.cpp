// Finding the includes of shader sources.

#include <gmock/gmock.h>
#include <rapidcheck.h>

#include "tests/support/IncludeRules.h"
#include "vxdependency/generators/IncludeScan.h"

namespace vexa {
namespace {

using Names = std::vector<std::string>;

Names Scan(const std::string& text) {
    Names names;
    for (IncludeName& include : ScanIncludes(text)) names.push_back(std::move(include.name));
    return names;
}

TEST(IncludeScan, FindsIncludesAsTheyAreWritten) {
    const std::pair<std::string, Names> cases[] = {
        {"#   include\t\"  common.h  \"", {"common.h"}},
        {"#include \"\"#include\"x\"", {"", "x"}},
        {"// #include \"a.h\"\n#include \"b.h\"\n#include \"b.h\"", {"b.h", "b.h"}},
        {"/* #include \"a.h\" */ #include \"b.h\" /* \n#include \"c.h\"\n*/", {"b.h"}},
        {"/*/ #include \"a.h\" /*/ #include \"b.h\"", {"b.h"}},
        {"/* **/#include \"a.h\"", {"a.h"}},
        {"/* */* #include \"a.h\" */ #include \"b.h\"", {"b.h"}},
        {"*/#include \"a.h\"*//\"", {"a.h"}},
        {"#include \"a/*b//c.h\" #include \"d.h\"", {"a/*b//c.h", "d.h"}},
        {"#include <a.h>\n#include \"b.h\"\n", {"a.h>#include"}},
        {"#include NAME\nfloat x;\nstring s = \"late\"; \"none\"", {"late"}},
        {"#include_next \"a.h\" #includes \"b.h\" #Include \"c.h\" include \"d.h\"",
         {"a.h", "b.h"}},
        {"#include \" a\r\nb \r\n\"\r\n#include \"c\r\n\"", {"a\rb", "c"}},
        {"#include \"open.h", {}},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(Scan(text), expected) << text;
}

TEST(IncludeScan, TellsWhereTheNameBegins) {
    const std::string text = "\n/*\n*/ #include\n \" \n a.h\"\n\n#include <b.h>\n\"";
    EXPECT_THAT(ScanIncludes(text), testing::ElementsAre(IncludeName{"a.h", text.find("a.h"), 5},
                                                         IncludeName{"b.h>", text.find("b.h"), 7}));
}

TEST(IncludeScan, FollowsItsRulesInAnyText) {
    const rc::Gen<std::string> piece = rc::gen::element<std::string>(
        " ", "\t", "\n", "\r", "/", "*", "\"", "<", ">", "#", "include", "abc", "//", "/*", "*/");
    rc::check([&] {
        const Names pieces = *rc::gen::scale(4, rc::gen::container<Names>(piece));
        std::string text;
        for (const std::string& part : pieces) text += part;
        RC_ASSERT(Scan(text) == test::IncludesByRules(text));
    });
}

}  // namespace
}  // namespace vexa
