#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/os/ChangeSteps.h"

namespace vexa {

// A file or folder that gets another name, both absolute.
struct PathMove {
    std::string from;
    std::string to;
    std::uint64_t number = 0;  // the file system's, which it keeps
};

// A file that gets other contents.
struct FileEdit {
    std::string target;       // absolute, under the name that it has before all moves; never a link
    std::string staged;       // the file of the new contents, in the folder of the changes
    std::string kept;         // likewise of the old ones; "" for a file that is new
    os::FileIdentity before;  // of the target when it was read
    os::FileIdentity after;   // of the new contents
    std::uint64_t hash = 0;   // XXH3 of the new contents
};

// Changes of files that belong together: first the edits, which go by the old names, then the moves
// in their order.
struct ChangeSet {
    std::vector<FileEdit> edits;
    std::vector<PathMove> moves;
    std::string title;               // for a person: "a.png -> b.png"
    std::vector<std::string> notes;  // the owner's own

    bool Empty() const { return edits.empty() && moves.empty(); }
    // The name that a path has after the moves, or the last ones of them.
    std::string NameAfterMoves(const std::string& path, std::size_t firstMove = 0) const;
};

// XXH3 of bytes, as FileEdit keeps it.
std::uint64_t HashOfBytes(std::string_view bytes);

// As bytes, and back. Paths below `base` are written relative to it, so that all may move together.
// False for what is no such thing, in whole and unharmed.
std::string WriteChangeSet(ChangeSet changes, const std::string& base);
bool ReadChangeSet(std::string_view bytes, const std::string& base, ChangeSet& changes);

// Whether `path` is `folder` or lies below it.
bool IsAtOrBelow(std::string_view path, std::string_view folder);

}  // namespace vexa
