#pragma once

#include <string>

#include "vexa/common/FileService.h"
#include "vexa/os/FindFiles.h"

// One look at an entry, as the walks look at entries: through links at what they lead to, if that
// is there, else at the link itself.
class EntryLook {
public:
    // `path` is absolute, "/" between segments.
    explicit EntryLook(const std::string& path);

    bool Exists() const { return m_exists; }
    // Whether a walk goes into it.
    bool IsDescended() const { return m_exists && m_descended; }
    const vexa::FileState& State() const { return m_state; }

private:
    bool m_exists = false;
    bool m_descended = false;
    vexa::FileState m_state;
};
