#include "vxdependency/store/Catalogue.h"

#include "vxdependency/store/Bytes.h"

namespace vexa::vxdependency {
namespace {

constexpr std::size_t kEncodedSize = 8 + 8 + 4 + 1;

}  // namespace

std::string Catalogue::FileRecordKey(const std::string& key) {
    return "f" + key;
}

std::string Catalogue::FindingsRecordKey(const std::string& key) {
    return "u" + key;
}

std::string Catalogue::AwaitedRecordKey(AwaitedId id, const std::string& key) {
    std::string record = "w";
    PutNumber<AwaitedId>(record, id);
    return record + key;
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
    PutNumber<std::int64_t>(bytes, entry.writeTimeNs);
    PutNumber<std::uint64_t>(bytes, entry.size);
    PutNumber<std::uint32_t>(bytes, entry.references);
    PutNumber<std::uint8_t>(bytes, entry.failed);
    return bytes;
}

bool Catalogue::Decode(std::string_view bytes, CatalogueEntry& entry) {
    if (bytes.size() != kEncodedSize) return false;
    std::uint8_t failed = 0;
    const bool whole = TakeNumber(bytes, entry.writeTimeNs) && TakeNumber(bytes, entry.size) &&
                       TakeNumber(bytes, entry.references) && TakeNumber(bytes, failed);
    entry.failed = failed != 0;
    return whole;
}

}  // namespace vexa::vxdependency
