#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "vexa/fx/TokenStream.h"
#include "vexa/fx/Types.h"

namespace vexa::fx {

// What a declaration begins with: `uniform row_major float4x4 World`.
struct Specifiers {
    std::optional<int> type;  // a TypeCode, when the type is known
    bool hasType = false;     // some type is written
    bool isStruct = false;    // `struct` and its like, with a body or without
    std::string_view name;    // "" for none
};

// Reads as much of that as there is, the bodies of structs too. Words before a known type are
// taken for macros.
Specifiers ReadSpecifiers(TokenStream& tokens, TypeTable& types);

}  // namespace vexa::fx
