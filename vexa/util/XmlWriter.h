#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "vexa/util/XmlLayout.h"

namespace vexa::xml {

// The text as it stands between two of these quotes: whoever reads the attribute gets it back.
std::string EscapedValue(std::string_view text, char quote);

// ` name="value"`.
std::string WrittenAttribute(std::string_view name, std::string_view value, char quote);

// An element with all that it holds, set as the layout says from `before` on; attributes and
// elements only.
std::string WrittenElement(pugi::xml_node element, const ChildLayout& layout);

}  // namespace vexa::xml
