#include <gtest/gtest.h>

#include <string>

#include "tests/support/Regression.h"
#include "vexa/util/TextEncoding.h"
#include "vexa/util/XmlDoc.h"

namespace vexa {
namespace {

std::string AttributeOf(const XmlDoc& node, const std::string& name, const std::string& path = "") {
    std::string value;
    node.GetAttribute(path, name, value, "<none>");
    return value;
}

std::string NameOf(const XmlDoc& node) {
    std::string name;
    node.GetName(name, "");
    return name;
}

// The tree as "a(b c(d))".
std::string Outline(const XmlDoc& node) {
    std::string text = NameOf(node);
    for (std::size_t i = 0; i < node.GetChildCount(""); ++i)
        text += (i == 0 ? "(" : " ") + Outline(node.SetChildDocument("", i));
    return node.GetChildCount("") > 0 ? text + ")" : text;
}

XmlDoc Parsed(const std::string& text) {
    XmlDoc document;
    EXPECT_TRUE(document.OpenText(text)) << document.GetError();
    return document;
}

TEST(XmlDoc, WalksElementsOnly) {
    const XmlDoc root = Parsed(
        "<?xml version='1.0'?><!DOCTYPE r><!-- c --><r>text<a/><!-- c --><b> <c/>x<?p i?></b>"
        "<![CDATA[<d/>]]><a f='2'/></r>");
    EXPECT_EQ(Outline(root), "r(a b(c) a)");
    std::string name;
    EXPECT_TRUE(root.GetName(name, "b/c"));
    EXPECT_EQ(name, "c");
    EXPECT_EQ(root.GetChildCount("b"), 1u);
    EXPECT_FALSE(root.GetName(name, "b/d"));
    EXPECT_EQ(name, "");
    EXPECT_TRUE(root.SetChildDocument("", 3).IsNull());
    EXPECT_TRUE(root.SetChildDocument("x/y", 0).IsNull());
    // In any order, not just the fast one.
    EXPECT_EQ(AttributeOf(root.SetChildDocument("", 2), "f"), "2");
    EXPECT_EQ(NameOf(root.SetChildDocument("", 1)), "b");
}

TEST(XmlDoc, ViewsOutliveTheDocumentTheyWereTakenFrom) {
    XmlDoc child;
    {
        XmlDoc document = Parsed("<r><a f='1'/></r>");
        child = document.SetChildDocument("", 0);
        document.OpenText("<other/>");
    }
    EXPECT_EQ(AttributeOf(child, "f"), "1");
    const XmlDoc moved = std::move(child);
    EXPECT_EQ(AttributeOf(moved, "f"), "1");
}

TEST(XmlDoc, ViewsOnNothingAnswer) {
    const XmlDoc nothing;
    std::string text = "x";
    EXPECT_FALSE(nothing.GetName(text, "a"));
    EXPECT_EQ(text, "");
    EXPECT_EQ(nothing.GetChildCount("") + nothing.GetRootCount(), 0u);
    EXPECT_TRUE(nothing.GetRoot(0).IsNull());
    EXPECT_EQ(AttributeOf(nothing, "f"), "<none>");
    EXPECT_EQ(nothing.GetAttributeOffset("", "f"), XmlDoc::npos);
}

TEST(XmlDoc, ResolvesAttributeValuesAndKnowsWhereTheyStand) {
    const struct {
        std::string text;   // an element "a" with an attribute "f"
        std::string value;  // as it reads
        std::string bytes;  // as it stands in the file
    } cases[] = {
        {"\xEF\xBB\xBF<a f=\"x.png\"/>", "x.png", "x.png"},
        {"<a g='&amp;&amp;'\r\n\tf = 'x&amp;y &#x41;&#66;'/>", "x&y AB", "x&amp;y &#x41;&#66;"},
        {"<a f=\"1\r\n2\t3\"/>", "1 2 3", "1\r\n2\t3"},
        {"<a f=\"x\" f=\"y\"/>", "x", "x"},
        {"<a f=''/>", "", ""},
        {"<a f='&unknown; &'/>", "&unknown; &", "&unknown; &"},
        {"<a f='\xC3\xA4\xE9'/>", "\xC3\xA4\xE9", "\xC3\xA4\xE9"},
    };
    for (const auto& [text, value, bytes] : cases) {
        const XmlDoc document = Parsed(text);
        EXPECT_EQ(document.GetSource(), text);
        EXPECT_EQ(AttributeOf(document, "f"), value);
        const std::size_t offset = document.GetAttributeOffset("", "f");
        ASSERT_NE(offset, XmlDoc::npos) << text;
        EXPECT_EQ(text.substr(offset, bytes.size()), bytes);
        EXPECT_EQ(text[offset - 1], text[offset + bytes.size()]) << "the quotes around it";
        EXPECT_EQ(document.GetAttributeOffset("", "h"), XmlDoc::npos);
    }
}

TEST(XmlDoc, ReadsEveryEncodingWithOffsetsInItsUtf8Form) {
    const std::string text = "<?xml version='1.0'?>\n<a b='\u20AC'\n f='\u00E4\U0001F600.png'/>";
    EXPECT_EQ(EncodeFromUtf8("a\U0001F600", TextEncoding::Utf16Big),
              std::string("\0a\xD8\x3D\xDE\0", 6));
    EXPECT_EQ(EncodeFromUtf8("\U0001F600", TextEncoding::Utf32Little),
              std::string("\0\xF6\1\0", 4));
    for (const auto encoding : {TextEncoding::Utf16Little, TextEncoding::Utf16Big,
                                TextEncoding::Utf32Little, TextEncoding::Utf32Big}) {
        for (const bool mark : {false, true}) {
            const std::string bytes = EncodeFromUtf8((mark ? "\uFEFF" : "") + text, encoding);
            const XmlDoc document = Parsed(bytes);
            EXPECT_EQ(document.GetSource(), bytes);
            EXPECT_EQ(AttributeOf(document, "f"), "\u00E4\U0001F600.png");
            const std::size_t offset = document.GetAttributeOffset("", "f");
            EXPECT_EQ(offset, std::string("<?xml version='1.0'?>\n<a b='\u20AC'\n f='").size() +
                                  (mark ? 3 : 0));
            EXPECT_EQ(document.LineOf(offset), 3u);
        }
    }
    const XmlDoc latin = Parsed("<?xml version='1.0' encoding=\"Latin1\"?><a g='\xE4' f='\xFC'/>");
    EXPECT_EQ(AttributeOf(latin, "f"), "\u00FC");
    EXPECT_EQ(DecodeToUtf8(latin.GetSource(), TextEncoding::Latin1)
                  .substr(latin.GetAttributeOffset("", "f"), 3),
              "\u00FC'");
}

TEST(XmlDoc, SaysWhereAndWhyADocumentIsRefused) {
    XmlDoc document = Parsed("<a/>");
    EXPECT_FALSE(document.OpenText("<a>\n <\u00E4>\r\n \u00E4 </b></a>"));
    EXPECT_EQ(document.GetError(), "line 3, column 6: start-end tags mismatch");
    EXPECT_TRUE(document.IsNull());
    EXPECT_EQ(document.GetSource(), "");
    EXPECT_FALSE(document.OpenText(EncodeFromUtf8("<a>\n\n</b>", TextEncoding::Utf16Big)));
    EXPECT_EQ(document.GetError(), "line 3, column 3: start-end tags mismatch");
    EXPECT_TRUE(document.OpenText("<a/>"));
    EXPECT_EQ(document.GetError(), "");
}

TEST(XmlDoc, SeesAllRoots) {
    const XmlDoc document = Parsed("<a/><!-- c -->text<b><c/></b>");
    ASSERT_EQ(document.GetRootCount(), 2u);
    EXPECT_EQ(NameOf(document), "a");
    EXPECT_EQ(Outline(document.GetRoot(1)), "b(c)");
    EXPECT_EQ(Outline(document.GetRoot(1).SetChildDocument("", 0).GetRoot(0)), "a");
    EXPECT_TRUE(document.GetRoot(2).IsNull());
}

TEST(XmlDoc, DeepAndWideDocumentsAreReadInLinearTime) {
    constexpr std::size_t kDepth = 200000, kWidth = 500000;
    std::string text;
    for (std::size_t i = 0; i < kDepth; ++i) text += "<d>";
    for (std::size_t i = 0; i < kWidth; ++i) text += "<w/>";
    for (std::size_t i = 0; i < kDepth; ++i) text += "</d>";
    XmlDoc node = Parsed(text);
    for (std::size_t i = 1; i < kDepth; ++i) node = node.SetChildDocument("", 0);
    for (std::size_t i = 0; i < node.GetChildCount(""); ++i)
        ASSERT_EQ(NameOf(node.SetChildDocument("", i)), "w");
    EXPECT_EQ(node.GetChildCount(""), kWidth);
}

TEST(XmlDoc, AcceptsOrRefusesEachPastInputAsItsFolderSays) {
    test::ExpectPastInputs("xml", [](const std::string& bytes) {
        XmlDoc document;
        const bool accepted = document.OpenText(bytes);
        EXPECT_EQ(accepted, document.GetError().empty());
        const std::size_t offset = document.GetAttributeOffset("", "f");
        if (!accepted || offset == XmlDoc::npos) return accepted;
        const char quote = DecodeToUtf8(bytes, DetectXmlEncoding(bytes)).at(offset - 1);
        EXPECT_TRUE(quote == '"' || quote == '\'') << quote;
        return accepted;
    });
}

}  // namespace
}  // namespace vexa
