#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "vexa/common/FileService.h"

// One entry of a folder that was listed.
struct ListedEntry {
    std::string name;
    unsigned attributes = 0;
    std::int64_t writeTime = 0;  // seconds since 1970-01-01 UTC
    vexa::FileState state;
};

// A folder as a walk found it. Those below it that were descended into stand in `folders`, all
// other entries in `entries`, both in the order of the search.
struct ListedFolder {
    std::string path;  // as built by the walk: "\" between a folder and an entry
    std::vector<ListedEntry> entries;
    std::vector<std::unique_ptr<ListedFolder>> folders;
    int error = 0;  // errno when it could not be listed to its end
};

// Lists a folder and all below it, on the calling thread and on a worker of the job system: what a
// walk waits for is the kernel, folder by folder. (120,000 files: 0.2 instead of 0.35 seconds.)
//
// A folder is descended into when the folder attribute stands alone and its name holds no
// backslash. `goOn` is asked before each folder, by any of the threads; false ends the walk with
// what it has.
std::unique_ptr<ListedFolder> WalkFolder(const std::string& path,
                                         const std::function<bool()>& goOn);
