#pragma once

#include <functional>
#include <string>
#include <vector>

#include "vexa/common/FileService.h"
#include "vxdependency/rename/PendingRenames.h"
#include "vxdependency/rename/RenamePlan.h"

namespace vexa {

// A file that a rename concerns, by its old and its new key, and what it refers to: its list as
// recorded before, of which just the edges count, and as it will be.
struct ConcernedFile {
    std::string oldKey;
    std::string newKey;
    std::vector<std::string> before;
    std::vector<std::string> after;
};

// Adds to the plan the references of a file that the rename loses, or brings, beyond the new names:
// those that were recorded under a name whose new one the file does not refer to. `isEdge` tells
// whether an entry recorded before is an edge. `disk` still shows the files before the rename where
// it has moved them itself; from there the text is taken.
void CompareReferences(const ConcernedFile& file, const PendingRenames& renames,
                       const std::function<bool(const std::string&)>& isEdge, IFileService& disk,
                       RenamePlan& plan);

}  // namespace vexa
