#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "vexa/util/TextSplices.h"

// How an XML text that a parser has accepted is laid out. Offsets are those of the text.
namespace vexa::xml {

// Where an element stands.
struct ElementExtent {
    std::size_t begin = 0;        // of its "<"
    std::size_t startTagEnd = 0;  // behind the ">" of its start tag
    std::size_t contentEnd = 0;   // of its end tag; startTagEnd when it has none
    bool empty = false;           // written "<a/>"
};

// The extent of the element whose name begins at `name`.
ElementExtent ExtentOf(std::string_view text, std::size_t name);

// The offset of the quote that ends the attribute value that begins at `value`.
std::size_t ValueEnd(std::string_view text, std::size_t value);

// How new elements are set below an element.
struct ChildLayout {
    std::string before;  // each of them: a line end and indentation, or nothing
    std::string after;   // the last one, when they are the first that the element gets
    std::string unit;    // each level of what they hold is indented by; "" without lines
    std::string tagEnd;  // "/>" or " />"
    char quote = '"';
};

// As the element's last child is set, which begins at `lastChild` (npos when it has none).
ChildLayout LayoutBelow(std::string_view text, const ElementExtent& element, std::size_t lastChild);

// Puts the text of new elements behind what the element holds; one that is written "<a/>" is opened
// up.
Splice Insertion(std::string_view text, const ElementExtent& element, std::string_view name,
                 const ChildLayout& layout, std::string added);

}  // namespace vexa::xml
