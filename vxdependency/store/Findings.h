#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/Export.h"

namespace vexa::vxdependency {

// A reference of a file that resolves to nothing.
struct MissingReference {
    std::uint64_t offset = 0;  // in bytes from the beginning of the file's text
    std::uint32_t line = 0;    // from 1; 0 in a binary file
    std::string rule;          // what found it, for a person
    std::string text;          // as it stands in the file

    friend bool operator==(const MissingReference&, const MissingReference&) = default;
};

// A path by the hash of its text. Two paths of one hash cost a needless reading, nothing else.
using AwaitedId = std::uint64_t;
AwaitedId AwaitedIdOf(std::string_view path);

// What the reading of a file told beside its list.
struct Findings {
    std::vector<MissingReference> missing;  // in the order of the file
    // The paths that the file must be read again for when they appear or change: what its missing
    // references may name, and the files that it is read through. Sorted, each once.
    std::vector<AwaitedId> awaited;

    bool IsEmpty() const { return missing.empty() && awaited.empty(); }

    friend bool operator==(const Findings&, const Findings&) = default;

    // The bytes that the catalogue keeps: the number of missing references (4 bytes), each with
    // offset (8), line (4), and rule and text with their lengths (4) in front; then the awaited
    // ids (8 each) to the end. Native byte order.
    std::string Encode() const;
    // False when the bytes are none; what could be read then stays.
    static bool Decode(std::string_view bytes, Findings& findings);
};

}  // namespace vexa::vxdependency
