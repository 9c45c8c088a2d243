#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// One entry of a folder that was listed.
struct ListedEntry {
    std::uint32_t nameAt = 0;  // in the names of its folder
    std::uint32_t nameLength = 0;
    std::uint32_t attributes = 0;
    std::int64_t writeTimeNs = 0;  // last write, nanoseconds since 1970-01-01 UTC
    std::uint64_t size = 0;        // bytes
};

// A folder as a walk found it. Those below it that were descended into stand in `folders`, all
// other entries in `entries`, both in the byte order of the keys that they have or begin: a folder
// stands where its name and "/" do.
struct ListedFolder {
    std::string path;   // as built by the walk: "\" between a folder and an entry
    std::string names;  // of the entries, one behind the other: a tree has millions of them
    std::vector<ListedEntry> entries;
    std::vector<std::unique_ptr<ListedFolder>> folders;
    int error = 0;  // errno when it could not be listed to its end

    std::string_view NameOf(const ListedEntry& entry) const {
        return std::string_view(names).substr(entry.nameAt, entry.nameLength);
    }
    // The last part of the path.
    std::string_view Name() const;
    // Visits entries and folders as one sequence, in the byte order of the keys.
    void InKeyOrder(const std::function<void(const ListedEntry&)>& onEntry,
                    const std::function<void(ListedFolder&)>& onFolder);
};

// Lists a folder and all below it, on the calling thread and on a worker of the job system: what a
// walk waits for is the kernel, folder by folder. (120,000 files: 0.2 instead of 0.35 seconds.)
//
// A folder is descended into when the folder attribute stands alone and its name holds no
// backslash. `goOn` is asked before each folder, by any of the threads; false ends the walk with
// what it has.
std::unique_ptr<ListedFolder> WalkFolder(const std::string& path,
                                         const std::function<bool()>& goOn);
