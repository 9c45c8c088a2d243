#include "vxdependency/store/RecordId.h"

#include <cstring>

#include "vexa/core/StringId.h"

namespace vexa::vxdependency {

RecordId IdOf(const std::string& text) {
    static const StringIDFunc idOf = GetStringIDFunc(StringIDType::Resource);
    return static_cast<RecordId>(idOf(text.c_str()));
}

std::string InverseText(const std::string& key) {
    return key + '#';
}

std::string StampText(const std::string& path) {
    return path + '!';
}

bool StandsBefore(RecordId left, RecordId right) {
    return std::memcmp(&left, &right, sizeof(RecordId)) < 0;
}

}  // namespace vexa::vxdependency
