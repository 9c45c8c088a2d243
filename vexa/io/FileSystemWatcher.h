#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vexa::vxio {

// One change below a watched directory.
struct DirectoryChangeParam {
    std::int32_t action = 0;  // 0 added, 1 removed, 2 modified, 3 old name, 4 new name
    std::string directory;    // the watched directory
    std::string name;         // relative to it, "\" between segments
    std::string extra;
};

// Remembers the directories to watch. Watching itself is not built yet.
class FileSystemWatcher {
public:
    // Notes a directory to watch, with everything below it. Touches no disk: arming waits until
    // somebody wants the changes, so that a query pays nothing for it.
    void WatchDirectory(const std::string& directory) { m_directories.push_back(directory); }
    const std::vector<std::string>& Directories() const { return m_directories; }

private:
    std::vector<std::string> m_directories;
};

}  // namespace vexa::vxio
