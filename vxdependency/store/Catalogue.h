#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "vexa/db/VXDatabase.h"
#include "vxdependency/store/Findings.h"

namespace vexa::vxdependency {

// What the catalogue remembers of a file.
struct CatalogueEntry {
    std::int64_t writeTimeNs = 0;  // last write when it was read, nanoseconds since 1970-01-01 UTC
    std::uint64_t size = 0;        // bytes
    std::uint32_t references = 0;  // entries of its list when it was last generated
    bool failed = false;           // it could not be read or parsed

    friend bool operator==(const CatalogueEntry&, const CatalogueEntry&) = default;
};

// The records of the catalogue table, byte for byte. The dependency records are kept by 32-bit ids,
// which tell neither what files there are nor two files of one id apart; the catalogue is keyed by
// text in full:
//   "v"        layout version, 4 bytes
//   "m" + name a named text of the store as a whole ("m" + "configuration")
//   "f" + key  a known file: 8 bytes time, 8 bytes size, 4 bytes references, 1 byte failed
//   "u" + key  what the reading of a file told beside its list (Findings::Encode); none if nothing
//   "w" + id + key  the file must be read again when the path of this id (8 bytes) appears or
//              changes; an empty value
// Integers are in native byte order, as in the dependency records. Records are written in the same
// transactions as the lists they belong to.
class Catalogue {
public:
    // Raise it when the layout of any record changes; stores of another version are moved aside.
    static constexpr std::uint32_t kLayoutVersion = 2;

    static std::string FileRecordKey(const std::string& key);
    static std::string FindingsRecordKey(const std::string& key);
    static std::string AwaitedRecordKey(AwaitedId id, const std::string& key);
    static std::string MetaRecordKey(const std::string& name);
    static std::string VersionRecordKey();

    static std::string Encode(const CatalogueEntry& entry);
    // False when the bytes are no entry.
    static bool Decode(std::string_view bytes, CatalogueEntry& entry);
};

}  // namespace vexa::vxdependency
