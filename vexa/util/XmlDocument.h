#pragma once

#include <cstddef>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vexa/util/TextEncoding.h"
#include "vexa/util/TextPosition.h"
#include "vexa/util/TextSplices.h"
#include "vexa/util/XmlDoc.h"

namespace vexa {

// What all views of one XML document share.
struct XmlDoc::Document {
    std::string source;
    // The parser works inside this copy (in UTF-8), and names and values point into it: an
    // attribute's value keeps its place even where character references in it were resolved.
    std::string text;
    TextEncoding encoding = TextEncoding::Utf8;
    pugi::xml_document dom;
    std::string error;
    std::optional<LineIndex> lines;  // made when somebody asks for one

    // A text that the parser refused, and why, in its words.
    struct Refusal {
        std::string source;
        TextEncoding encoding;
        std::size_t offset;
        const char* reason;

        std::string Describe() const;
    };
    std::optional<Refusal> refusal;  // until somebody asks for the error

    // An attribute as the source has it.
    struct Attribute {
        std::size_t offset = npos;  // of its value; npos when it is not in the source
        std::string value;
    };
    std::unordered_map<pugi::xml_attribute_struct*, Attribute> set;  // that was set since
    std::unordered_set<pugi::xml_node_struct*> made;                 // elements not in the source
    std::unordered_set<pugi::xml_node_struct*> changed;              // elements of the source
    std::size_t additions = 0;                                       // of elements, so far

    // Calls `use` with the text before the parser changed it.
    template <class Use>
    auto WithOriginalText(Use use) const {
        if (encoding == TextEncoding::Utf8) return use(std::string_view(source));
        return use(std::string_view(DecodeToUtf8(source, encoding)));
    }

    // Where something that the parser knows stands in the text; npos when it is not from there.
    std::size_t OffsetOf(const char* parsed) const;
    std::size_t OffsetOf(pugi::xml_attribute attribute) const;

    // The bytes of the file with all that was changed since.
    std::string Bytes() const;

private:
    std::vector<Splice> Splices(std::string_view original) const;
    void SpliceAttributes(std::string_view original, pugi::xml_node element,
                          std::vector<Splice>& splices) const;
    void SpliceChildren(std::string_view original, pugi::xml_node element,
                        std::vector<Splice>& splices) const;
};

namespace xml {

// The node that a view's handle stands for.
pugi::xml_node Node(void* handle);

// The descendant of a node that element names joined with "/" lead to; null when there is none.
pugi::xml_node Descend(pugi::xml_node node, std::string_view path);

}  // namespace xml
}  // namespace vexa
