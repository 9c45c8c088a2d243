#pragma once

#include <cstdint>
#include <string>

namespace vexa::vxdependency {

// The key of a record in the dependency table: the string id of the record's text. Two texts of one
// id share a record.
using RecordId = std::uint32_t;

RecordId IdOf(const std::string& text);

// The text of a forward list is its key; those of the other records:
std::string InverseText(const std::string& key);
std::string StampText(const std::string& path);

inline RecordId ForwardId(const std::string& key) {
    return IdOf(key);
}
inline RecordId InverseId(const std::string& key) {
    return IdOf(InverseText(key));
}

// Whether one id's bytes sort before the other's: the order of the records in the table.
bool StandsBefore(RecordId left, RecordId right);

}  // namespace vexa::vxdependency
