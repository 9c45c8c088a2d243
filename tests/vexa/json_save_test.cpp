// Saving JSON documents: what is written differs from what was read in nothing but the changes.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <filesystem>
#include <functional>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"
#include "vexa/io/JsonData.h"

namespace vexa::vxio {
namespace {

using ujson::value;

value& First(JsonData& document) {
    value* v = document.GetRoot();
    while (!v->to_array().empty() || !v->to_object().empty())
        v = v->is_array() ? &v->to_array().front() : &v->to_object().front().second;
    return *v;
}

void SetFirst(JsonData& document) {
    First(document).set_string("n/\u00E4\"\\\n\x1F");
}

void AddToRoot(JsonData& document) {
    value added;
    added.set_string("x/");
    value& root = *document.GetRoot();
    if (root.is_array())
        root.to_array().push_back(std::move(added));
    else
        root.to_object().emplace_back("new", std::move(added));
}

struct Case {
    const char* what;
    std::function<void(JsonData&)> change;
    std::string before, after;
};

TEST(JsonSave, KeepsWhatWasNotChanged) {
    const std::string set = "\"n/\u00E4\\\"\\\\\\n\\u001F\"";
    const auto nothing = [](JsonData&) {};
    const Case cases[] = {
        {"nothing", nothing, "\xEF\xBB\xBF[\"\\u0041\\/\", 1.50 ]\r\n",
         "\xEF\xBB\xBF[\"\\u0041\\/\", 1.50 ]\r\n"},
        {"comments and the lack of a last line break", SetFirst,
         "// \"a\"\n[ /* \" */ \"a\\\"\\\\\" /*\"*/ ] // x",
         "// \"a\"\n[ /* \" */ " + set + " /*\"*/ ] // x"},
        {"numbers, names and escapes of others", SetFirst,
         R"({"b\u0041":"a/\/b","b\u0041":[1E+2,-0,1.50,12345678901234567890],"a":"\u00e4\/"})",
         R"({"b\u0041":)" + set +
             R"(,"b\u0041":[1E+2,-0,1.50,12345678901234567890],"a":"\u00e4\/"})"},
        {"bytes that are no UTF-8", SetFirst, "[\"\xFF\",\"\xFF\"]", "[" + set + ",\"\xFF\"]"},
        {"escaped slashes", SetFirst, R"(["a\/b\\"])", R"(["n\/)" + set.substr(3) + "]"},
        {"a root alone", SetFirst, "\"a\"", set},
        {"written anew", AddToRoot,
         "\xEF\xBB\xBF// c\r\n{\r\n\t\"a\":{\r\n\"b\": [1.50,{}, true]}, \"a\":null, \"\xFF\\/\": "
         "false}\r\n",
         "\xEF\xBB\xBF{\r\n\t\"a\": {\r\n\t\t\"b\": "
         "[\r\n\t\t\t1.50,\r\n\t\t\t{},\r\n\t\t\ttrue\r\n\t\t]\r\n\t},\r\n"
         "\t\"a\": null,\r\n\t\"\xFF/\": false,\r\n\t\"new\": \"x/\"\r\n}\r\n"},
        {"another kind", SetFirst, "/*\n * c\n */\n[\n    0, 12345678901234567890]",
         "[\n    " + set + ",\n    12345678901234567890\n]"},
        {"one value less", [](JsonData& d) { d.GetRoot()->to_array().pop_back(); }, "[[\"a\"], 1]",
         "[\n  [\n    \"a\"\n  ]\n]"},
        {"another name", [](JsonData& d) { d.GetRoot()->to_object()[0].first = "b"; }, "{\"a\":[]}",
         "{\n  \"b\": []\n}"},
        {"other numbers",
         [](JsonData& d) {
             JsonData other;
             other.LoadText("[[7, 0.5, 1e300],        -3]");
             *d.GetRoot() = std::move(*other.GetRoot());
         },
         "[]", "[\n  [\n    7,\n    0.5,\n    1e300\n  ],\n  -3\n]"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        JsonData document;
        EXPECT_EQ(document.LoadText(c.before), 0) << document.GetError();
        c.change(document);
        EXPECT_EQ(document.ToText(), c.after);
    }
}

// A string as a program has it and as JSON spells it.
using Spelled = std::pair<std::string, std::string>;

Spelled AnyString(const std::vector<Spelled>& parts) {
    Spelled all;
    for (const Spelled& part :
         *rc::gen::container<std::vector<Spelled>>(rc::gen::elementOf(parts))) {
        all.first += part.first;
        all.second += part.second;
    }
    return {all.first, '"' + all.second + '"'};
}

TEST(JsonSave, ChangedStringsAreSubstitutedAndReadBack) {
    const std::vector<Spelled> written = {
        {"a", "a"},    {"/", "/"},          {"\"", "\\\""},       {"\\", "\\\\"},
        {"\n", "\\n"}, {"\x1F", "\\u001F"}, {"\u00E4", "\u00E4"}, {"\xFF", "\xFF"}};
    std::vector<Spelled> read = written;
    read.insert(read.end(), {{"A", "\\u0041"}, {"\U0001F600", "\\ud83d\\ude00"}, {"\t", "\\t"}});
    EXPECT_TRUE(rc::check("the bytes around changed strings stay", [&] {
        std::string before, after;
        const auto write = [&](const std::string& old, const std::string& now) {
            const std::string behind =
                *rc::gen::element<std::string>("", " ", "\r\n\t", "/*\"\\*/", "//[\"\n");
            before += old + behind;
            after += now + behind;
        };
        const auto same = [&](const std::string& text) { write(text, text); };
        const auto changes = *rc::gen::container<std::vector<bool>>(rc::gen::arbitrary<bool>());
        std::vector<std::string> now, spelled;
        same("[");
        for (const bool changed : changes) {
            if (!now.empty()) same(",");
            const Spelled old = AnyString(read);
            const Spelled set = changed ? AnyString(written) : old;
            same("[[1.0], {\"k\":");
            write(old.second, set.first == old.first ? old.second : set.second);
            same("}]");
            now.push_back(set.first);
            spelled.push_back(old.second);
        }
        same("]");
        const auto stringAt = [](JsonData& document, std::size_t i) -> value& {
            return document.GetRoot()->to_array().at(i).to_array().at(1).to_object().at(0).second;
        };
        JsonData document;
        RC_ASSERT(document.LoadText(before) == 0);
        for (std::size_t i = 0; i < now.size(); ++i) {
            RC_ASSERT(before.substr(stringAt(document, i).offset()).starts_with(spelled[i]));
            stringAt(document, i).set_string(now[i]);
        }
        RC_ASSERT(document.ToText() == after);
        RC_ASSERT(document.LoadText(after) == 0);
        for (std::size_t i = 0; i < now.size(); ++i)
            RC_ASSERT(stringAt(document, i).text() == now[i]);
    }));
}

TEST(JsonSave, WritesNothingWithoutAChange) {
    const test::TempDir directory;
    const std::string path = directory.Write("a.json", "[\"\\u0041\"]");
    const std::filesystem::file_time_type longAgo{};
    std::filesystem::last_write_time(path, longAgo);
    JsonData document;
    EXPECT_EQ(document.Save(path), -1) << "no document is loaded";
    ASSERT_EQ(document.Load(path), 0);
    First(document).set_string("B");
    First(document).set_string("A");
    EXPECT_EQ(document.Save(path), 0);
    EXPECT_EQ(document.Save(directory.Path("b.json")), 0);
    EXPECT_EQ(directory.Read("b.json"), "[\"\\u0041\"]");
    EXPECT_EQ(std::filesystem::last_write_time(path), longAgo);
    directory.Write("a.json", "somebody else's");
    EXPECT_EQ(document.Save(path), 0);
    EXPECT_EQ(directory.Read("a.json"), "somebody else's");
    First(document).set_string("B");
    EXPECT_EQ(document.Save(path), 0);
    EXPECT_EQ(directory.Read("a.json"), "[\"B\"]");
    std::filesystem::last_write_time(path, longAgo);
    EXPECT_EQ(document.Save(path), 0);
    EXPECT_EQ(std::filesystem::last_write_time(path), longAgo);
}

TEST(JsonSave, AFailureNamesTheFileAndLeavesIt) {
    const test::TempDir directory;
    const std::string path = directory.Write("a.json", "[\"a\"]");
    const test::FullDisk full(2);
    JsonData document;
    ASSERT_EQ(document.Load(path), 0);
    First(document).set_string("b");
    EXPECT_EQ(document.Save(path), -1);
    EXPECT_EQ(document.GetError(), path + ": cannot be saved: File too large");
    EXPECT_EQ(directory.Read("a.json"), "[\"a\"]");
    EXPECT_EQ(document.ToText(), "[\"b\"]");
}

TEST(JsonSave, DeepDocumentsAreSaved) {
    constexpr std::size_t kDepth = 200000;
    const std::string open(kDepth, '[');
    const std::string close(kDepth, ']');
    JsonData document;
    ASSERT_EQ(document.LoadText(open + "\"a\"" + close), 0);
    First(document).set_string("b");
    EXPECT_TRUE(document.ToText() == open + "\"b\"" + close);
    AddToRoot(document);
    const std::string written = document.ToText();
    EXPECT_LT(written.size(), 5 * kDepth);
    ASSERT_EQ(document.LoadText(written), 0) << document.GetError();
}

}  // namespace
}  // namespace vexa::vxio
