// Changing XML documents: what is saved differs from what was read in nothing but the changes.

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <filesystem>
#include <functional>

#include "tests/support/TempDir.h"
#include "vexa/util/TextEncoding.h"
#include "vexa/util/XmlDoc.h"
#include "vexa/util/XmlWriter.h"

namespace vexa {
namespace {

// The bytes that saving gives a document after `change`; a new file's, so that all is written.
std::string Saved(const std::string& text, const std::function<void(XmlDoc&)>& change) {
    const test::TempDir directory;
    XmlDoc document;
    EXPECT_TRUE(document.OpenText(text)) << text;
    change(document);
    EXPECT_TRUE(document.Save(directory.Path("new.xml"))) << document.GetError();
    return directory.Read("new.xml");
}

std::string AttributeOf(const XmlDoc& node, const std::string& name, const std::string& path = "") {
    std::string value;
    node.GetAttribute(path, name, value, "<none>");
    return value;
}

void AddTo(XmlDoc& document, const std::string& path) {
    XmlDoc added = document.AddDocument(path, "n");
    EXPECT_TRUE(added.SetAttribute("", "f", "x"));
    EXPECT_EQ(AttributeOf(document.SetChildDocument(path, document.GetChildCount(path) - 1), "f"),
              "x");
}

TEST(XmlDocSave, AddedElementsTakeAfterTheirSiblings) {
    const struct {
        const char* what;
        std::string before, after;
    } cases[] = {
        {"lines", "<r>\n  <L>\n    <a f='1'/>\n  </L>\n</r>\n",
         "<r>\n  <L>\n    <a f='1'/>\n    <n f='x'/>\n    <n f='x'/>\n  </L>\n</r>\n"},
        {"CRLF and tabs", "<r>\r\n\t<L>\r\n\t\t<a f=\"1\" />\r\n\t</L></r>",
         "<r>\r\n\t<L>\r\n\t\t<a f=\"1\" />\r\n\t\t<n f=\"x\" />\r\n\t\t<n f=\"x\" "
         "/>\r\n\t</L></r>"},
        {"CR", "<r>\r <L><b/>\r  <a/></L></r>",
         "<r>\r <L><b/>\r  <a/>\r  <n f=\"x\"/>\r  <n f=\"x\"/></L></r>"},
        {"an empty list opens up", "<r>\n  <L  />\n</r>",
         "<r>\n  <L>\n    <n f=\"x\" />\n    <n f=\"x\" />\n  </L>\n</r>"},
        {"of tags", "<r>\n\t<L id='&gt;>'></L>\n</r>",
         "<r>\n\t<L id='&gt;>'>\n\t\t<n f='x'/>\n\t\t<n f='x'/>\n\t</L>\n</r>"},
        {"no lines", "<r><L><a/></L></r>", "<r><L><a/><n f=\"x\"/><n f=\"x\"/></L></r>"},
        {"what looks like tags",
         "<r>\n <L>\n  <a><L/><!-- </L> > --><![CDATA[</L>]]><?p </L>?></a>\n  <!-- end -->\n "
         "</L>\n</r>",
         "<r>\n <L>\n  <a><L/><!-- </L> > --><![CDATA[</L>]]><?p </L>?></a>\n  <!-- end -->\n"
         "  <n f=\"x\"/>\n  <n f=\"x\"/>\n </L>\n</r>"},
    };
    const auto addTwo = [](XmlDoc& document) {
        AddTo(document, "L");
        AddTo(document, "L");
    };
    for (const auto& [what, before, after] : cases) EXPECT_EQ(Saved(before, addTwo), after) << what;
    const auto nested = [](XmlDoc& document) {
        XmlDoc child = document.AddDocument("L", "n").AddDocument("", "m");
        child.AddDocument("", "o");
        child.AddDocument("", "p");
    };
    EXPECT_EQ(Saved("<r>\n  <L/>\n</r>", nested),
              "<r>\n  <L>\n    <n>\n      <m>\n        <o/>\n        <p/>\n      </m>\n    </n>\n"
              "  </L>\n</r>");
}

TEST(XmlDocSave, AddedAttributesAndRefusals) {
    const auto change = [](XmlDoc& document) {
        EXPECT_TRUE(document.SetAttribute("", "g", "1<"));
        EXPECT_TRUE(document.SetAttribute("a", "g", "2"));
        EXPECT_TRUE(document.SetAttribute("a", "f", "a longer value than before"));
        EXPECT_EQ(document.GetAttributeOffset("a", "f"), 9u);
        EXPECT_EQ(document.GetAttributeOffset("a", "g"), XmlDoc::npos);
        AddTo(document, "a");
        EXPECT_FALSE(document.SetAttribute("b", "f", "no such element"));
        EXPECT_FALSE(document.SetAttribute("", "two words", ""));
        EXPECT_FALSE(document.SetAttribute("", "f", std::string("\0", 1)));
        EXPECT_TRUE(document.AddDocument("", "1").IsNull());
        EXPECT_TRUE(document.AddDocument("b", "n").IsNull());
    };
    EXPECT_EQ(Saved("<r><a f='1'/></r>", change),
              "<r g=\"1&lt;\"><a f='a longer value than before' g='2'><n f='x'/></a></r>");
    XmlDoc nothing;
    EXPECT_FALSE(nothing.Save("x.xml"));
    EXPECT_FALSE(nothing.SetAttribute("", "f", ""));
    nothing.CreateEmptyDocument("Vexa");
    AddTo(nothing, "");
    const test::TempDir directory;
    EXPECT_TRUE(nothing.Save(directory.Path("new.xml")));
    EXPECT_EQ(directory.Read("new.xml"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Vexa>\n  <n f=\"x\"/>\n</Vexa>\n");
}

TEST(XmlDocSave, NothingIsWrittenWithoutAChange) {
    const test::TempDir directory;
    const std::string path = directory.Write("a.xml", "<a f='&#65;&amp;'/>");
    const std::filesystem::file_time_type long_ago{};
    std::filesystem::last_write_time(path, long_ago);
    XmlDoc document;
    ASSERT_TRUE(document.OpenFile(path));
    EXPECT_TRUE(document.SetAttribute("", "f", "B"));
    EXPECT_TRUE(document.SetAttribute("", "f", "A&"));
    EXPECT_TRUE(document.Save(path));
    EXPECT_EQ(std::filesystem::last_write_time(path), long_ago);
    EXPECT_TRUE(document.SetAttribute("", "f", "B"));
    EXPECT_TRUE(document.Save(path));
    EXPECT_EQ(directory.Read("a.xml"), "<a f='B'/>");
}

TEST(XmlDocSave, LatinOneTakesReferencesForWhatItLacks) {
    const std::string declared = "<?xml version='1.0' encoding='ISO-8859-1'?>";
    const auto change = [](XmlDoc& document) {
        EXPECT_TRUE(document.SetAttribute("", "f", "\u00FC\u20AC"));
        EXPECT_FALSE(document.SetAttribute("", "f", "\xFF"));
    };
    EXPECT_EQ(Saved(declared + "<a g='\xE4' f='\xE4'/>", change),
              declared + "<a g='\xE4' f='\xFC&#x20AC;'/>");
}

TEST(XmlDocSave, ChangedValuesAreSubstitutedAndReadBack) {
    const auto parts =
        rc::gen::element<std::string>("a", "/", "\\", "&", "&amp;", "<", ">", "'", "\"", "\n", "\t",
                                      "\u00E4", "\U0001F600", "long name");
    const auto names = rc::gen::map(rc::gen::container<std::vector<std::string>>(parts),
                                    [](const std::vector<std::string>& list) {
                                        return fmt::format("{}", fmt::join(list, ""));
                                    });
    rc::check("in every encoding, the bytes around changed values stay", [&] {
        const auto encoding = *rc::gen::element(TextEncoding::Utf8, TextEncoding::Latin1,
                                                TextEncoding::Utf16Little, TextEncoding::Utf16Big,
                                                TextEncoding::Utf32Little, TextEncoding::Utf32Big);
        const bool latin = encoding == TextEncoding::Latin1;
        std::string before = latin ? "" : *rc::gen::element<std::string>("", "\uFEFF");
        before +=
            "<?xml version='1.0'" + std::string(latin ? " encoding='latin1'?>" : "?>") + "<r>";
        std::string after = before;
        const auto values = *rc::gen::container<std::vector<std::string>>(names);
        for (const std::string& value : values) {
            const char quote = *rc::gen::element('"', '\'');
            const std::string around =
                *rc::gen::element<std::string>("", "\r\n\t", "<!-- \u00E4<e f='' -->") +
                "<e g='&lt;' f=" + quote;
            before += around + "old&#65;\u00E4" + quote + " h=''/>";
            after += around + xml::EscapedValue(value, quote) + quote + " h=''/>";
        }
        const std::string saved =
            Saved(EncodeFromUtf8(before + "</r>", encoding), [&](XmlDoc& document) {
                for (std::size_t i = 0; i < values.size(); ++i)
                    RC_ASSERT(document.SetChildDocument("", i).SetAttribute("", "f", values[i]));
            });
        RC_ASSERT(saved == EncodeFromUtf8(after + "</r>", encoding));
        XmlDoc again;
        RC_ASSERT(again.OpenText(saved));
        for (std::size_t i = 0; i < values.size(); ++i)
            RC_ASSERT(AttributeOf(again.SetChildDocument("", i), "f") == values[i]);
    });
}

}  // namespace
}  // namespace vexa
