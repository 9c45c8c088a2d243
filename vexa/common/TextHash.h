#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace vexa {

// For tables by texts that are asked with texts of any kind.
struct TextHash : std::hash<std::string_view> {
    using is_transparent = void;
};

}  // namespace vexa
