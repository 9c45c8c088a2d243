#pragma once

#include <string>

namespace vexa {

class PendingRenames;

// The renames that a rewriting slot follows: the one that it is called for, and all that are under
// way (see PendingRenames). They have happened already.
class SlotRenames {
public:
    // Paths in any form. With an empty new path the resource goes away instead. A path that names
    // no resource is logged, and no reference is taken to name it.
    SlotRenames(const std::string& oldPath, const std::string& newPath);

    // The new key of what had `oldKey`, "" when it goes away; null when it keeps its name.
    const std::string* NewNameOf(const std::string& oldKey) const;
    // The old key of what has `newKey`; null when that had it before.
    const std::string* OldNameOf(const std::string& newKey) const;

private:
    std::string m_oldKey;  // "" for none
    std::string m_newKey;
    const PendingRenames& m_pending;
};

}  // namespace vexa
