#pragma once

#include <string>
#include <vector>

#include "vexa/journal/ChangeSet.h"

namespace vexa {

// What taking changes back came to; a line for a person for each file.
struct RollBackReport {
    std::vector<std::string> conflicts;  // not as the changes left it: somebody's work, which stays
    std::vector<std::string> failures;   // the system did not let us; it can be tried again
};

// Takes changes back, as far as they were made: after none of them, after some, or after all; doing
// it again does no harm. `folder` holds the files of the set's edits.
RollBackReport RollBackChanges(const ChangeSet& changes, const std::string& folder);

// What would keep changes that were made as a whole from being taken back, a line for each.
std::vector<std::string> FindConflicts(const ChangeSet& changes);

// The folders in which the changes add or remove entries, under the names that they have before or
// after all moves; each once.
std::vector<std::string> FoldersOf(const ChangeSet& changes, bool afterMoves);

}  // namespace vexa
