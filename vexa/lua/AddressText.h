#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

namespace vexa {

// How an object prints that has no text of its own: "Name(0x7F12345678A0)". Owns
// nothing, so that a script error may pass over it; a name that is too long is cut.
inline std::array<char, 128> AddressText(const char* name, const void* object) {
    std::array<char, 128> text;
    std::snprintf(text.data(), text.size(), "%.100s(0x%.12llX)", name,
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(object)));
    return text;
}

}  // namespace vexa
