#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vxdep {

// What can be wrong between the store and the tree.
enum class ProblemKind {
    Stale,       // changed since it was read
    Unknown,     // there, but the store has never met it
    Missing,     // the store knows it, but it is gone
    OneSided,    // one end of a reference records it, the other does not
    Colliding,   // shares a record with another path, since their 32-bit ids are equal
    TooLong,     // its path is too long to be kept
    Unreadable,  // cannot be opened
    Unparsable,  // was read, but its content is broken
};

// As it is printed.
const char* NameOf(ProblemKind kind);

struct Problem {
    ProblemKind kind;
    std::string path;
    std::string other;  // the other end of a reference or of a collision, else ""
};

struct CheckReport {
    std::int64_t files = 0;         // of the tree
    std::vector<Problem> problems;  // by kind, then by path

    std::int64_t Count(ProblemKind kind) const;
    // False when something is wrong that a scan would mend or that hides references. Broken content
    // is no fault of the store.
    bool IsSound() const;
};

// Compares the store of the open project with its tree. Neither is changed.
CheckReport CheckTree();

}  // namespace vxdep
