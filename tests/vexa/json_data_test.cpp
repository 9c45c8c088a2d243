#include <gtest/gtest.h>

#include <string>

#include "tests/support/Regression.h"
#include "vexa/io/JsonData.h"

namespace vexa::vxio {
namespace {

using ujson::value;

JsonData Parsed(const std::string& text) {
    JsonData document;
    EXPECT_EQ(document.LoadText(text), 0) << document.GetError();
    EXPECT_EQ(document.GetError(), "");
    EXPECT_EQ(document.GetSource(), text);
    return document;
}

// The value in one spelling, strings with their bytes as they are.
std::string Dump(const value& v) {
    std::string text;
    switch (v.type()) {
        case value::kind::Null:
            return "null";
        case value::kind::Boolean:
            return "bool";
        case value::kind::Number:
            return std::to_string(v.to_int32(-1));
        case value::kind::String:
            return "'" + v.to_string("") + "'";
        case value::kind::Array:
            for (const value& element : v.to_array()) text += Dump(element) + ",";
            return "[" + text + "]";
        case value::kind::Object:
            for (const auto& [name, element] : v.to_object())
                text += name + ":" + Dump(element) + ",";
            return "{" + text + "}";
    }
    return text;
}

TEST(JsonData, KeepsMembersInFileOrderWithRepeatedNames) {
    JsonData document =
        Parsed(R"({"b": [1, -2.9, "x\u20ACy"], "a": {"": null}, "b": true, "c": []})");
    EXPECT_EQ(Dump(*document.GetRoot()), "{b:[1,-2,'x\u20ACy',],a:{:null,},b:bool,c:[],}");
}

TEST(JsonData, KnowsWhereEachValueStands) {
    const std::pair<std::string, std::string> cases[] = {
        // and what stands at the offset of the innermost first value
        {R"( "x.png")", R"("x.png")"}, {R"({"a\"\\": /* "\*/ "\\\"b\\" })", R"("\\\"b\\" })"},
        {R"(["//"])", R"("//"])"},     {"[//]\n-1.5e+3 ]", "-1.5e+3 ]"},
        {R"({"k":12})", "12}"},        {"[ false, 1]", "false, 1]"},
        {"[/**/null]", "null]"},       {R"([ {"k" : {}}])", "{}}]"},
    };
    for (const auto& [text, rest] : cases) {
        JsonData document = Parsed(text);
        const value* v = document.GetRoot();
        while (!v->to_array().empty() || !v->to_object().empty())
            v = v->is_array() ? &v->to_array().front() : &v->to_object().front().second;
        EXPECT_EQ(text.substr(v->offset()), rest);
    }
}

TEST(JsonData, GivesDefaultsForOtherKinds) {
    JsonData document = Parsed(
        R"(["12", 3.99, -3.99, 2147483647, -2147483648, 2147483648, 1e300, -0.5, null, {}, []])");
    const int numbers[] = {77, 3, -3, 2147483647, -2147483647 - 1, 77, 77, 0, 77, 77, 77};
    ujson::array& elements = document.GetRoot()->to_array();
    ASSERT_EQ(elements.size(), std::size(numbers));
    for (std::size_t i = 0; i < elements.size(); ++i) {
        EXPECT_EQ(elements[i].to_int32(77), numbers[i]) << i;
        EXPECT_EQ(elements[i].to_string("none"), i == 0 ? "12" : "none");
    }
}

TEST(JsonData, CopiesAreDeepAndMovesLeaveNull) {
    JsonData document = Parsed(R"({"a": [1, {"b": "x"}], "c": true})");
    value& root = *document.GetRoot();
    value copy = root;
    copy.to_object()[0].second.to_array()[1].to_object()[0].second.set_string("y");
    EXPECT_EQ(Dump(root), "{a:[1,{b:'x',},],c:bool,}");
    copy = copy.to_object()[0].second;  // a part of itself
    EXPECT_EQ(Dump(copy), "[1,{b:'y',},]");
    copy = std::move(copy.to_array()[1]);
    EXPECT_EQ(Dump(copy), "{b:'y',}");
    const value taken = std::move(copy);
    EXPECT_EQ(Dump(copy), "null");
    EXPECT_EQ(Dump(taken), "{b:'y',}");
}

TEST(JsonData, SaysWhereAndWhyADocumentIsRefused) {
    const struct {
        std::string text, error;
    } cases[] = {
        {"{\"\u00E4\": 1,\n \"\u00E4\" 2}",
         "line 2, column 6: missing a colon after a name of object member"},
        {"[1 2]", "line 1, column 4: missing a comma or ']' after an array element"},
        {"", "line 1, column 1: the document is empty"},
        {std::string("[\n\0]", 4), "line 2, column 1: a NUL byte"},
        {std::string("\xFF\xFE[\0]\0", 6), "the text is UTF-16 or UTF-32; JSON is read as UTF-8"},
    };
    JsonData document = Parsed("{}");
    for (const auto& c : cases) {
        EXPECT_EQ(document.LoadText(c.text), -1);
        EXPECT_EQ(document.GetError(), c.error);
        EXPECT_EQ(document.GetRoot(), nullptr);
        EXPECT_EQ(document.GetSource(), "");
    }
}

TEST(JsonData, DeepDocumentsAreReadCopiedAndDestroyed) {
    constexpr int kDepth = 300000;
    std::string text;
    for (int i = 0; i < kDepth; ++i) text += i % 2 == 0 ? "[0," : "{\"a\":";
    text += "1";
    for (int i = kDepth; i-- > 0;) text += i % 2 == 0 ? "]" : "}";
    JsonData document = Parsed(text);
    value copy = *document.GetRoot();
    copy.to_array()[1].set_string("cut");
    EXPECT_EQ(Dump(copy), "[0,'cut',]");
}

TEST(JsonData, AcceptsOrRefusesEachPastInputAsItsFolderSays) {
    test::ExpectPastInputs("json", [](const std::string& text) {
        JsonData document;
        const bool accepted = document.LoadText(text) == 0;
        EXPECT_EQ(document.GetError().empty(), accepted);
        return accepted;
    });
}

}  // namespace
}  // namespace vexa::vxio
