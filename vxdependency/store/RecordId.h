#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vexa::vxdependency {

// The key of a record in the dependency table: the string id of the record's text. Two texts of one
// id share a record.
using RecordId = std::uint32_t;

RecordId IdOf(const std::string& text);

// Names a record in messages: by its text where that is known, else by its id.
struct RecordName {
    RecordId id = 0;
    std::string_view text = {};

    std::string ToString() const;
};

// The text of a forward list is its key; those of the other records:
std::string InverseText(const std::string& key);
std::string StampText(const std::string& path);

inline RecordId ForwardId(const std::string& key) {
    return IdOf(key);
}
inline RecordId InverseId(const std::string& key) {
    return IdOf(InverseText(key));
}

// A number that sorts as the id's bytes do, which is the order of the records in their table; and
// the other way round.
template <std::unsigned_integral Id>
Id InTableOrder(Id id) {
    if constexpr (std::endian::native == std::endian::big) return id;
    Id bytes = 0;
    for (std::size_t i = 0; i < sizeof id; ++i, id >>= 8U) bytes = bytes << 8U | (id & 0xFFU);
    return bytes;
}

inline bool StandsBefore(RecordId left, RecordId right) {
    return InTableOrder(left) < InTableOrder(right);
}

}  // namespace vexa::vxdependency
