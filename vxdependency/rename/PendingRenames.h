#pragma once

#include <string>
#include <unordered_map>

namespace vexa {

// The renames of one batch: every resource that gets another name, by its old key. Read by all
// threads that work on the batch, changed by none of them.
class PendingRenames {
public:
    using Map = std::unordered_map<std::string, std::string>;

    // The first new name of an old one counts. False when there is one already, or both are equal.
    bool Add(const std::string& oldKey, const std::string& newKey);
    void Clear();

    // The new key of what had `oldKey`, or the old key of what has `newKey`; null when that is not
    // renamed. Valid until the next change.
    const std::string* NewNameOf(const std::string& oldKey) const;
    const std::string* OldNameOf(const std::string& newKey) const;

    const Map& ByOldName() const { return m_newNames; }

private:
    Map m_newNames;
    Map m_oldNames;
};

}  // namespace vexa
