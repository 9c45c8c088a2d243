#include "vxdependency/store/Catalogue.h"

#include <cstring>

namespace vexa::vxdependency {
namespace {

constexpr std::size_t kEncodedSize = 8 + 8 + 4 + 1;

template <class T>
void Put(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <class T>
void Take(std::string_view& bytes, T& value) {
    std::memcpy(&value, bytes.data(), sizeof value);
    bytes.remove_prefix(sizeof value);
}

}  // namespace

std::string Catalogue::FileRecordKey(const std::string& key) {
    return "f" + key;
}

std::string Catalogue::MetaRecordKey(const std::string& name) {
    return "m" + name;
}

std::string Catalogue::VersionRecordKey() {
    return "v";
}

std::string Catalogue::Encode(const CatalogueEntry& entry) {
    std::string bytes;
    bytes.reserve(kEncodedSize);
    Put(bytes, entry.writeTimeNs);
    Put(bytes, entry.size);
    Put(bytes, entry.references);
    Put(bytes, static_cast<std::uint8_t>(entry.failed));
    return bytes;
}

bool Catalogue::Decode(std::string_view bytes, CatalogueEntry& entry) {
    if (bytes.size() != kEncodedSize) return false;
    Take(bytes, entry.writeTimeNs);
    Take(bytes, entry.size);
    Take(bytes, entry.references);
    entry.failed = bytes.front() != '\0';
    return true;
}

}  // namespace vexa::vxdependency
