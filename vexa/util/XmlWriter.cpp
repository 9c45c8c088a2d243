#include "vexa/util/XmlWriter.h"

#include <fmt/format.h>

namespace vexa::xml {
namespace {

std::string StartTag(pugi::xml_node element, char quote) {
    std::string tag = fmt::format("<{}", element.name());
    for (const pugi::xml_attribute attribute : element.attributes()) {
        tag += WrittenAttribute(attribute.name(), attribute.value(), quote);
    }
    return tag;
}

}  // namespace

std::string EscapedValue(std::string_view text, char quote) {
    std::string escaped;
    for (const char c : text) {
        if (c == '&') {
            escaped += "&amp;";
        } else if (c == '<') {
            escaped += "&lt;";
        } else if (c == quote) {
            escaped += quote == '"' ? "&quot;" : "&apos;";
        } else if (c == '\t' || c == '\n' || c == '\r') {
            escaped += fmt::format("&#{};", static_cast<int>(c));  // as itself it reads as a blank
        } else {
            escaped += c;
        }
    }
    return escaped;
}

std::string WrittenAttribute(std::string_view name, std::string_view value, char quote) {
    return fmt::format(" {}={}{}{}", name, quote, EscapedValue(value, quote), quote);
}

std::string WrittenElement(pugi::xml_node element, const ChildLayout& layout) {
    std::string text;
    std::string before = layout.before;
    for (pugi::xml_node node = element;;) {
        text += before + StartTag(node, layout.quote);
        if (node.first_child()) {
            text += '>';
            before += layout.unit;
            node = node.first_child();
            continue;
        }
        text += layout.tagEnd;
        for (; node != element && !node.next_sibling(); node = node.parent()) {
            before.resize(before.size() - layout.unit.size());
            text += fmt::format("{}</{}>", before, node.parent().name());
        }
        if (node == element) return text;
        node = node.next_sibling();
    }
}

}  // namespace vexa::xml
