#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vxdependency/generators/SlotRenames.h"

namespace vexa {

// Tells what becomes of the references of one file when resources are renamed. Each reference is
// read as it was before all of the renames, at the place where the file was, and is written as it
// has to be after all of them, where the file is now: so renames that hand names on (a to b, b to
// c) are followed once. To be used where the files lie as they will.
class ReferenceRewriter {
public:
    enum class Scope : std::uint8_t {
        Renamed,   // references to what is renamed
        Existing,  // references to all that was there, for a file that has moved
    };

    // For the file that has the key `file` now. The renames are that of `oldPath` to `newPath` and
    // those under way (see SlotRenames).
    ReferenceRewriter(std::string file, Scope scope, const std::string& oldPath,
                      const std::string& newPath);

    const std::string& File() const { return m_file; }

    // The text that a reference is to have, as it stands in the file; `mask` is its rule's
    // strategy, `addition` what the rule adds. The text itself when the file has moved and it still
    // names what it named; none when it named nothing in the scope, or no text of its form could
    // name that.
    std::optional<std::string> NewText(const std::string& text, std::int32_t mask,
                                       const std::string& addition = "") const;

private:
    // A resource that a text named, and its key now: "" when it goes away.
    struct Target {
        std::string oldKey;
        std::string newKey;
    };

    std::vector<Target> TargetsOf(const std::string& read, std::int32_t mask) const;
    std::optional<std::string> TextFor(const Target& target, const std::string& read,
                                       std::int32_t mask, const std::string& addition) const;

    SlotRenames m_renames;
    std::string m_file;
    std::string m_oldFile;
    Scope m_scope;
};

}  // namespace vexa
