#include "vxdependency/store/Findings.h"

#include <xxhash.h>

#include "vxdependency/store/Bytes.h"

namespace vexa::vxdependency {

AwaitedId AwaitedIdOf(std::string_view path) {
    return XXH3_64bits(path.data(), path.size());
}

std::string Findings::Encode() const {
    std::string bytes;
    PutNumber<std::uint32_t>(bytes, static_cast<std::uint32_t>(missing.size()));
    for (const MissingReference& reference : missing) {
        PutNumber<std::uint64_t>(bytes, reference.offset);
        PutNumber<std::uint32_t>(bytes, reference.line);
        PutText(bytes, reference.rule);
        PutText(bytes, reference.text);
    }
    for (const AwaitedId id : awaited) PutNumber<AwaitedId>(bytes, id);
    return bytes;
}

bool Findings::Decode(std::string_view bytes, Findings& findings) {
    findings = {};
    std::uint32_t count = 0;
    if (!TakeNumber(bytes, count)) return false;
    for (std::uint32_t i = 0; i < count; ++i) {
        MissingReference reference;
        const bool whole = TakeNumber(bytes, reference.offset) &&
                           TakeNumber(bytes, reference.line) && TakeText(bytes, reference.rule) &&
                           TakeText(bytes, reference.text);
        if (!whole) return false;
        findings.missing.push_back(std::move(reference));
    }
    for (AwaitedId id = 0; TakeNumber(bytes, id);) findings.awaited.push_back(id);
    return bytes.empty();
}

}  // namespace vexa::vxdependency
