#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "vexa/common/FileService.h"

namespace vexa::vxio {

class ChangeQueue;

// What a walk met below a directory.
class TreeSnapshot {
public:
    explicit TreeSnapshot(std::string directory) : m_directory(std::move(directory)) {}

    // Walks the directory. Of a folder that cannot be listed to its end, what an earlier walk met
    // in it counts as still there. 0, or errno when the directory itself cannot be listed.
    int Walk(const TreeSnapshot& earlier);

    // Tells the queue what happened since an earlier walk. An entry counts as renamed when the file
    // system gives it the identity of one that is gone, and it was not written since.
    void TellChangesSince(TreeSnapshot earlier, ChangeQueue& queue) const;

private:
    struct Entry {
        unsigned attributes = 0;
        bool descended = false;
        std::uint64_t identity = 0;
        FileState state;

        bool IsSameAs(const Entry& other) const;
        bool MayBe(const Entry& other) const;
    };
    // By the path below the directory, "/" between segments.
    using Entries = std::map<std::string, Entry>;

    int List(const std::string& folder, std::vector<std::string>& below);
    void Keep(const TreeSnapshot& earlier, const std::string& folder);
    void TellRenames(TreeSnapshot& earlier, ChangeQueue& queue, bool folders) const;
    void TellGone(const TreeSnapshot& earlier, ChangeQueue& queue) const;
    void TellPresent(const TreeSnapshot& earlier, ChangeQueue& queue) const;
    Entries Extract(const std::string& path);
    void Rename(const std::string& from, const std::string& to);
    bool HoldsParent(const std::string& path) const;

    std::string m_directory;
    Entries m_entries;
};

}  // namespace vexa::vxio
