#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/util/TextEncoding.h"

namespace vexa {

// A part of a text that gives way to another text; an insertion when it has no length.
struct Splice {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::string text;
};

// The bytes of a file with splices made in its text; every other byte is as it was. `text` is what
// DecodeToUtf8 made of the bytes; splices speak of it, in UTF-8. They must not overlap; those at
// one place are made in their order in the list.
std::string ApplySplices(std::string_view bytes, TextEncoding encoding, std::string_view text,
                         std::vector<Splice> splices);

}  // namespace vexa
