#pragma once

#include <bit>
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

// A number that sorts as the id's bytes do, which is the order of the records in the table; and the
// other way round.
inline std::uint32_t InTableOrder(RecordId id) {
    return std::endian::native == std::endian::big
               ? id
               : id << 24 | (id & 0xFF00) << 8 | (id >> 8 & 0xFF00) | id >> 24;
}

inline bool StandsBefore(RecordId left, RecordId right) {
    return InTableOrder(left) < InTableOrder(right);
}

}  // namespace vexa::vxdependency
