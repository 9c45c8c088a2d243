#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

// Numbers and texts in the records of the catalogue, in native byte order.
namespace vexa::vxdependency {

template <class T>
void PutNumber(std::string& bytes, std::type_identity_t<T> value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

inline void PutText(std::string& bytes, std::string_view text) {
    PutNumber<std::uint32_t>(bytes, static_cast<std::uint32_t>(text.size()));
    bytes.append(text);
}

// Each takes its bytes off the front; false when there are too few.
template <class T>
bool TakeNumber(std::string_view& bytes, T& value) {
    if (bytes.size() < sizeof value) return false;
    std::memcpy(&value, bytes.data(), sizeof value);
    bytes.remove_prefix(sizeof value);
    return true;
}

inline bool TakeText(std::string_view& bytes, std::string& text) {
    std::uint32_t length = 0;
    if (!TakeNumber(bytes, length) || bytes.size() < length) return false;
    text.assign(bytes.substr(0, length));
    bytes.remove_prefix(length);
    return true;
}

}  // namespace vexa::vxdependency
