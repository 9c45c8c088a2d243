#pragma once

#include <string>
#include <string_view>

#include "vexa/io/JsonData.h"

namespace vexa::ujson {

// What stands between the quotes of a string literal for `text`, as short as JSON allows; bytes
// that are not ASCII stay as they are. "/" becomes "\/" when `old`, the same of the literal that
// gives way, has it like that and never bare.
std::string EscapedString(std::string_view text, std::string_view old);

// A document written as a whole, as JsonData::ToText says. `source` is what it was read from.
std::string WrittenDocument(const value& root, std::string_view source,
                            const to_string_options& options);

}  // namespace vexa::ujson
