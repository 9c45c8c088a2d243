// Reading effects.

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <sstream>
#include <string>
#include <vector>

#include "vexa/fx/Parser.h"

namespace vexa::fx {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string OutlineOf(const Annotation& block) {
    std::string text;
    ParamInfo info;
    for (std::size_t i = 0; block.GetParamInfo(i, info); ++i) {
        const std::string* const value = block.GetString(i);
        text += fmt::format("{}{} {}{}", i == 0 ? "" : ", ", info.type, info.name,
                            value ? "='" + *value + "'" : "");
    }
    return "<" + text + ">";
}

// "6 Map :SEMANTIC @s0 <7 File='a.png'>; Lit/First VertexShader='a.vs'; " and the like.
std::string OutlineOf(const Effect& effect) {
    std::string text;
    for (std::size_t i = 0; i < effect.GetParamCount(); ++i) {
        const Param& param = effect.GetParam(i);
        text += fmt::format("{} {}", param.GetType(), param.GetName());
        if (!param.GetSemantic().empty()) text += " :" + param.GetSemantic();
        if (!param.GetRegister().empty()) text += " @" + param.GetRegister();
        if (param.GetAnnotation()) text += " " + OutlineOf(*param.GetAnnotation());
        text += "; ";
    }
    for (const PassShader& shader : effect.GetPassShaders())
        text += fmt::format("{}/{} {}='{}'; ", shader.technique, shader.pass, shader.state,
                            shader.path);
    return text;
}

struct Reading {
    explicit Reading(const std::string& text) {
        Parser parser;
        effect = parser.Parse_IgnoreError(text.data(), text.size());
        for (const Message& error : parser.GetErrors()) errors += error.text + "; ";
        outline = effect ? OutlineOf(*effect) : "null";
    }
    std::shared_ptr<Effect> effect;
    std::string outline;
    std::string errors;
};

struct Case {
    std::string text;
    std::string outline;
};

void ExpectOutlines(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        const Reading reading(c.text);
        EXPECT_EQ(reading.outline, c.outline) << c.text;
        EXPECT_EQ(reading.errors, "") << c.text;
    }
}

TEST(Effect, ReadsDeclarations) {
    ExpectOutlines({
        {"", ""},
        {"\xEF\xBB\xBF // nothing\n/* \" */;", ""},
        {"float4x4 World : WORLD;", "3 World :WORLD; "},
        {"static const half3 a[2] = { {1, 2, 3}, f(4, g(5)) }, b : B = -1.5e-3, c;",
         "3 a; 3 b :B; 3 c; "},
        {"texture t : register(t0); Texture2D<float4> u; TEXTURE3D v; textureCUBE w;",
         "6 t @t0; 6 u; 6 v; 6 w; "},
        {"Texture2DArray a; RWTexture2D<unorm float4> b; Texture2DMS<float4, 8> c; texture2D d[4];",
         "6 a; 6 b; 6 c; 6 d; "},
        {"bool4 b; uint i; unsigned int u; min16float2x2 m; vector<float, 4> v; string s = \"x\";",
         "1 b; 2 i; 2 u; 3 m; 3 v; 7 s; "},
        {"sampler2D s : register( s0 ) = sampler_state { Texture = <t>; MinFilter = Linear; };"
         "sampler r { Texture = (t); } SamplerState q { Filter = A; };",
         "5 s @s0; 5 r; 5 q; "},
        {"StructuredBuffer<vector<float,4>> b; BlendState x { A = TRUE; }; Thing y;",
         "10 b; 9 x; 0 y; "},
        {"struct S : Base { float a; } s; S r; typedef texture2D Map; Map m; struct Later;",
         "4 s; 4 r; 6 m; "},
        {"typedef struct { int a; } Pair; Pair p; struct Q q; MyType Sampler; EXPORT float e;",
         "4 p; 4 q; 0 Sampler; 3 e; "},
        {"cbuffer Frame : register(b0) { float4 hidden; texture t; }; tbuffer { int i; } float a;",
         "3 a; "},
        {"fxgroup g <int a = 1;> { float a; namespace n { float b; } } float c;",
         "3 a; 3 b; 3 c; "},
        {"[numthreads(8, 8, 1)] void main(float a : A = 1) { if (a > 1) { } } int b;", "2 b; "},
        {"struct S f(in S s); float4 g() : SV_Target { \"}\"; /* } */ } DECLARE(x, \"y;\") int b;",
         "2 b; "},
        // Branches of a conditional that open a brace each, for one that closes.
        {"#if A\nfloat f(int a) {\n#elif B\nfloat f() { {\n}\n#else\nint f() {\n#endif\n} int b;",
         "2 b; "},
        {"#define A float a; \\\r\n float b; /* \n float c; */ float d;\n"
         " # include \"x/*.h\"\nfloat e; // \\\nfloat f;\nfloat \\\n g;",
         "3 e; 3 g; "},
    });
}

TEST(Effect, ReadsAnnotations) {
    ExpectOutlines({
        {"texture t <>;", "6 t <>; "},
        {"texture t : S < string a = \"x.png\"; float Min = 0; int i[2] = {1, 2} > = NULL;",
         "6 t :S <7 a='x.png', 3 Min, 2 i>; "},
        {"texture t < string a = \"x\" /* y */ \"z\\\n.png\"; STRING b[] = {\"c\", \"d\" "
         "\"e\",};>;",
         "6 t <7 a='xz.png', 7 b='c', 7 b='de'>; "},
        {R"(texture t < string a = "a\"b\\c\d\'e>;<"; string b = ("");>;)",
         R"(6 t <7 a='a"b\c\d'e>;<', 7 b=''>; )"},
        {"texture t < string a = NAME; string b = DIR \"x.png\"; float c = \"x\"; >, u;",
         "6 t <7 a, 7 b, 3 c>; 6 u; "},
    });
}

TEST(Effect, KnowsTheShaderFilesOfPasses) {
    const auto shader = [](const std::string& statement) {
        return Reading("technique t { pass p { " + statement + " } }").outline;
    };
    for (const char* one :
         {"x = \"a.vs\";", "x = compile vs_3_0 \"a.vs\" main;", "x = compile vs_2_0 \"a\" \".vs\";",
          "x[0] = (\"a.vs\");", "x = compile ps_3_0 \"a.vs\" : main;",
          "x = compile vs_3_0 m \"a.vs\";", "x = CompileShader(vs_4_0, \"a.vs\", \"main\");",
          "x(COMPILE(vs_4_0, \"a.vs\", \"main\"), \"b\");",
          "x(Stream(CompileShader(gs_4_0, \"a.vs\", \"m\"), \"POSITION.xyz\"));"})
        for (const std::string state : {"VertexShader", "SetHullShader", "pixelshader"})
            EXPECT_EQ(shader(state + (one + 1)), "t/p " + state + "='a.vs'; ") << state << one;
    for (const char* none :
         {"VertexShader = compile vs_3_0 main();", "VertexShader = compile vs_3_0 main(\"a.vs\");",
          "VertexShader = NULL;", "PixelShader = asm { ps_1_1; mov r0, c0 };",
          "VertexShader = \"\";", "SetVertexShader(CompileShader(vs_4_0, VS()));",
          "GeometryShader = Stream(g, \"P.x\");", "Texture[0] = \"a.png\";",
          "VertexShader = <shaders[\"a.vs\"]>;", "SetShader(\"a.vs\");"})
        EXPECT_EQ(shader(none), "") << none;
    const Reading all(
        "technique < int a = 1; > { pass <string s = \"x\";> { VertexShader = \"a.vs\"; } pass b "
        "{} }\n"
        "Technique11 T { Pass c { ;PixelShader = \"a.ps\"; ZEnable = 1;\nVertexShader = \"a.vs\"; "
        "} };");
    EXPECT_EQ(all.outline,
              "/ VertexShader='a.vs'; T/c PixelShader='a.ps'; T/c VertexShader='a.vs'; ");
    EXPECT_EQ(all.errors, "");
    EXPECT_EQ(all.effect->GetChildrenCount(), 3u);
    EXPECT_THAT(all.effect->GetPassShaderPath(), ElementsAre("a.vs", "a.ps", "a.vs"));
    EXPECT_EQ(all.effect->GetPassShaders()[2].line, 3u);
}

TEST(Effect, SaysWhereItsErrorsAreAndReadsOn) {
    struct {
        std::string text, outline, errors;
    } const cases[] = {
        {"float = 1;\nfloat b;", "3 b; ", "line 1, column 7: expected a name, found '='; "},
        {"float \u00E4 1;\nint b;", "3 \u00E4; 2 b; ",
         "line 1, column 9: expected ';', found '1'; "},
        {"float a,;float b = ;int c;", "3 a; 3 b; 2 c; ",
         "line 1, column 9: expected a name, found ';'; "
         "line 1, column 20: expected a value, found ';'; "},
        {"texture t < a; string b = \"x\"; int = 3; float c > ;", "6 t <7 b='x'>; ",
         "line 1, column 14: expected a type and a name, found ';'; "
         "line 1, column 36: expected a type and a name, found '='; "
         "line 1, column 49: expected '=', found '>'; "},
        {"texture t < string s = \"x;\n>;int a;", "6 t <7 s>; 2 a; ",
         "line 1, column 24: the string is not closed; "},
        {"float f() { if (x) {\n}\ntechnique T { pass p { VertexShader = \"a\" } pass { X Y; X = "
         "1;",
         "T/p VertexShader='a'; ",
         "line 1, column 11: '{' is not closed; line 3, column 43: expected ';', found '}'; "
         "line 3, column 54: expected '=', found 'Y'; line 3, column 63: expected '}', found the "
         "end; "},
        {"technique A { pass { technique B { pass { PixelShader = (\"a\"; } }",
         "B/ PixelShader='a'; ",
         "line 1, column 22: expected '}', found 'technique'; "
         "line 1, column 61: expected ')', found ';'; "},
        {"int a; /* b", "2 a; ", "line 1, column 8: the comment is not closed; "},
        {"<html>\n</html>", "null", "line 1, column 1: expected a declaration, found '<'; "},
        {std::string("int a;\0", 7), "null",
         "line 1, column 7: a NUL byte: this is no text in UTF-8; "},
    };
    for (const auto& c : cases) {
        const Reading reading(c.text);
        EXPECT_EQ(reading.outline, c.outline) << c.text;
        EXPECT_EQ(reading.errors, c.errors) << c.text;
    }
}

TEST(Effect, HostileTextsEndInLinearTime) {
    constexpr std::size_t kTimes = 1000000;
    const auto millionOf = [](const std::string& piece) {
        std::string all;
        for (std::size_t i = 0; i < kTimes; ++i) all += piece;
        return all;
    };
    for (const char* piece : {"{", "}", "(", "[", "<", "\"\n", "a", "a ", ";", "#if\n", "/*",
                              "\\\n", "technique a{", "fxgroup a{", "struct a{", "a(", "a<"}) {
        const std::string many = millionOf(piece);
        EXPECT_TRUE(Reading("int a;" + many).effect) << piece;
        for (const std::string before :
             {"int f(){", "texture t<string s=", "technique t{pass p{VertexShader="})
            EXPECT_TRUE(Reading(before + many.substr(0, kTimes / 10)).effect) << before << piece;
    }
    Parser parser;
    const std::string declarations = millionOf("int a<string b=\"c\";>;");
    const auto effect = parser.Parse_IgnoreError(declarations.data(), declarations.size());
    EXPECT_LT(effect->GetParamCount(), kTimes);
    ASSERT_EQ(parser.GetErrors().size(), 1u);
    EXPECT_THAT(parser.GetErrors()[0].text, HasSubstr("the rest is not read"));
    const std::string faults = millionOf("int a;}");
    EXPECT_TRUE(parser.Parse_IgnoreError(faults.data(), faults.size()));
    ASSERT_EQ(parser.GetErrors().size(), 1001u);
    EXPECT_EQ(parser.GetErrors()[1000].text, "line 1, column 7007: further errors are not listed");
}

// Tokens of an effect, apart; the strings among them stand where the parser says.
constexpr const char* kTokens = R"(
    texture Map : SEMANTIC [ 2 ] : register ( s7 ) < string a = "x.png" ; string b = "" ; > ;
    struct S { texture t ; } ; float4 f ( ) { { } } cbuffer B { float a ; } MACRO ( ( ) ) ;
    int2x3 m = { f ( 1 , 2 ) } ; TextureCube c < string d = ">;\"\\" ; > ;
    technique t { pass p { VertexShader = compile vs_3_0 "a.vs" ; CullMode = None ; } }
    technique t { pass q { PixelShader = "b/a.ps" ; } })";

TEST(Effect, WhatStandsBetweenTokensChangesNothing) {
    const std::string strings[] = {"x.png", "", R"(>;\"\\)", "a.vs", "b/a.ps"};
    EXPECT_TRUE(rc::check([&] {
        std::istringstream tokens(kTokens);
        std::string text;
        for (std::string token; tokens >> token;)
            text += token + *rc::gen::element<std::string>(
                                " ", "\n", "\r\n\t", "/* ; } \" */", "// > { \"\n", " \\\n ",
                                "\n#define X(a) { a \\\n \"\n", "\n # pragma y /* \n */ ;\n");
        const Reading reading(text);
        RC_ASSERT(reading.errors == "");
        RC_ASSERT(reading.outline ==
                  "6 Map :SEMANTIC @s7 <7 a='x.png', 7 b=''>; 2 m; 6 c <7 d='>;\"\\'>; "
                  "t/p VertexShader='a.vs'; t/q PixelShader='b/a.ps'; ");
        std::vector<std::size_t> offsets;
        ParamInfo info;
        for (const std::size_t param : {0, 2})
            for (std::size_t i = 0;
                 reading.effect->GetParam(param).GetAnnotation()->GetParamInfo(i, info); ++i)
                offsets.push_back(info.offset);
        for (const PassShader& shader : reading.effect->GetPassShaders())
            offsets.push_back(shader.offset);
        RC_ASSERT(offsets.size() == std::size(strings));
        for (std::size_t i = 0; i < offsets.size(); ++i)
            RC_ASSERT(text.compare(offsets[i] - 1, strings[i].size() + 2, '"' + strings[i] + '"') ==
                      0);
    }));
}

}  // namespace
}  // namespace vexa::fx
