#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/store/Findings.h"

namespace vexa {

// Collects, while a file is read, which of its references resolve to nothing, and which paths it
// would have to be read again for.
class FindingsObserver final : public IReferenceObserver {
public:
    // `key` is the file that is read.
    explicit FindingsObserver(const std::string& key);

    void OnReference(const ReferenceReport& report) override;
    void OnAbsent(const std::string& key) override;
    void OnReadThrough(const std::string& key) override;

    // What was found; to be called once, at the end.
    vxdependency::Findings Take();

private:
    bool IsOwn(const std::string& file) const;
    void DropResolved();
    void Await(const std::string& path);

    const std::string& m_key;
    vxdependency::Findings m_findings;
    std::vector<std::uint64_t> m_resolved;  // hashes of the texts that resolve
};

}  // namespace vexa
