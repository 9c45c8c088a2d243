#include "vxdependency/store/RecordId.h"

#include <fmt/format.h>

#include "vexa/core/StringId.h"

namespace vexa::vxdependency {

RecordId IdOf(const std::string& text) {
    static const StringIDFunc idOf = GetStringIDFunc(StringIDType::Resource);
    return static_cast<RecordId>(idOf(text.c_str()));
}

std::string RecordName::ToString() const {
    return text.empty() ? fmt::format("record {:08x}", id) : std::string(text);
}

std::string InverseText(const std::string& key) {
    return key + '#';
}

std::string StampText(const std::string& path) {
    return path + '!';
}

}  // namespace vexa::vxdependency
