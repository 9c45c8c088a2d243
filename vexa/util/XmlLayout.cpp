#include "vexa/util/XmlLayout.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace vexa::xml {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kLineEnds = "\r\n";

std::size_t Behind(std::string_view text, std::string_view mark, std::size_t from) {
    const std::size_t found = text.find(mark, from);
    return found == text.npos ? text.size() : found + mark.size();
}

// Behind the tag that begins at `at`; ">" in attribute values does not end it.
std::size_t TagEnd(std::string_view text, std::size_t at) {
    while (at < text.size() && text[at] != '>') {
        const bool quoted = text[at] == '"' || text[at] == '\'';
        at = quoted ? Behind(text, text.substr(at, 1), at + 1) : at + 1;
    }
    return std::min(at + 1, text.size());
}

// Behind the tag, comment, character data or instruction that begins at `at`.
std::size_t MarkupEnd(std::string_view text, std::size_t at) {
    const std::string_view rest = text.substr(at);
    if (rest.starts_with("<!--")) return Behind(text, "-->", at + 4);
    if (rest.starts_with("<![CDATA[")) return Behind(text, "]]>", at);
    if (rest.starts_with("<?")) return Behind(text, "?>", at);
    return TagEnd(text, at);
}

// By how many levels the markup from `begin` to `end` goes deeper.
int Descent(std::string_view markup) {
    if (markup.starts_with("</")) return -1;
    const bool startTag = !markup.starts_with("<!") && !markup.starts_with("<?");
    return startTag && !markup.ends_with("/>") ? 1 : 0;
}

// Where the blanks begin that stand directly before an offset.
std::size_t SkipBlanksBack(std::string_view text, std::size_t offset) {
    return text.substr(0, offset).find_last_not_of(kBlanks) + 1;
}

// The indentation of what stands at `offset` when it is the first on its line.
std::optional<std::string_view> IndentationOf(std::string_view text, std::size_t offset) {
    const std::size_t end = text.substr(0, offset).find_last_not_of(" \t") + 1;
    if (end > 0 && kLineEnds.find(text[end - 1]) == kLineEnds.npos) return std::nullopt;
    return text.substr(end, offset - end);
}

// The line end that stands last before `offset`, else the text's first one.
std::string_view LineEndNear(std::string_view text, std::size_t offset) {
    std::size_t at = text.substr(0, offset).find_last_of(kLineEnds);
    if (at == text.npos) at = text.find_first_of(kLineEnds);
    if (at == text.npos) return {};
    if (text[at] == '\n' && at > 0 && text[at - 1] == '\r') --at;
    return text.substr(at, text.substr(at).starts_with("\r\n") ? 2 : 1);
}

// The indentation of the first element that has one.
std::string_view IndentationUnit(std::string_view text) {
    for (std::size_t at = 0; (at = text.find('<', at)) != text.npos; ++at) {
        const auto indentation = IndentationOf(text, at);
        if (at > 0 && indentation && !indentation->empty()) return *indentation;
    }
    return "  ";
}

// The quote of the first attribute in a tag.
char QuoteIn(std::string_view tag) {
    const std::size_t quote = tag.find_first_of("\"'");
    return quote == tag.npos ? '"' : tag[quote];
}

}  // namespace

ElementExtent ExtentOf(std::string_view text, std::size_t name) {
    ElementExtent extent;
    extent.begin = name - 1;
    extent.startTagEnd = extent.contentEnd = TagEnd(text, extent.begin);
    extent.empty = text[extent.startTagEnd - 2] == '/';
    std::size_t next = extent.startTagEnd;
    for (int depth = extent.empty ? 0 : 1; depth > 0;) {
        extent.contentEnd = std::min(text.find('<', next), text.size());
        if (extent.contentEnd == text.size()) break;
        next = MarkupEnd(text, extent.contentEnd);
        depth += Descent(text.substr(extent.contentEnd, next - extent.contentEnd));
    }
    return extent;
}

std::size_t ValueEnd(std::string_view text, std::size_t value) {
    return std::min(text.find(text[value - 1], value), text.size());
}

ChildLayout LayoutBelow(std::string_view text, const ElementExtent& element,
                        std::size_t lastChild) {
    const bool hasChild = lastChild != text.npos;
    const std::size_t model = hasChild ? lastChild : element.begin;
    ChildLayout layout;
    layout.quote = QuoteIn(text.substr(model, TagEnd(text, model) - model));
    layout.tagEnd = text.find(" />") == text.npos ? "/>" : " />";

    const auto indentation = IndentationOf(text, model);
    const std::string lineEnd(LineEndNear(text, model));
    if (!indentation || lineEnd.empty()) return layout;
    layout.unit = IndentationUnit(text);
    layout.before = lineEnd + std::string(*indentation);
    if (hasChild) return layout;
    layout.after = layout.before;
    layout.before += layout.unit;
    return layout;
}

Splice Insertion(std::string_view text, const ElementExtent& element, std::string_view name,
                 const ChildLayout& layout, std::string added) {
    if (element.empty) {
        const std::size_t begin = SkipBlanksBack(text, element.startTagEnd - 2);
        added = fmt::format(">{}{}</{}>", added, layout.after, name);
        return {begin, element.startTagEnd - begin, std::move(added)};
    }
    const std::size_t end = SkipBlanksBack(text, element.contentEnd);
    const std::string_view tail = text.substr(end, element.contentEnd - end);
    const bool onNextLine = tail.find_first_of(kLineEnds) != tail.npos;
    if (onNextLine || layout.after.empty()) return {end, 0, std::move(added)};
    return {end, tail.size(), added + layout.after};
}

}  // namespace vexa::xml
