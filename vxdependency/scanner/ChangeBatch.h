#pragma once

#include <string>
#include <vector>

#include "vexa/io/FileSystemWatcher.h"

// The changes of one batch, by what they ask for. All paths are keys.
struct ChangeBatch {
    using List = std::vector<std::string>;

    // Whose state is to be looked at before the renames. Each once.
    List touched;
    // The renames, by index.
    List oldNames;
    List newNames;
    // What lies at or below an old or a new name of a rename, under the path that it has after all
    // of them; to be looked at then, as are the names themselves. Each once.
    List moved;
};

// Sorts changes of a watcher. An old name without a new one, or the reverse, counts as touched.
ChangeBatch SortChanges(const std::vector<vexa::vxio::DirectoryChangeParam>& changes);

// Makes renames of the removals that are directly followed by the addition of an entry of the same
// name in another folder.
void PairMoves(std::vector<vexa::vxio::DirectoryChangeParam>& changes);
