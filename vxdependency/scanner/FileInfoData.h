#pragma once

#include <cstdint>
#include <string>

// A file that a scan found.
struct FileInfoData {
    // How the file stands to what the catalogue knows of it.
    enum class Change : std::uint8_t { Unknown, None, Changed };

    std::string path;              // the root, then "\\" and a name for each step down, as walked
    std::int64_t timestamp = 0;    // last write, seconds since 1970-01-01 UTC
    std::int64_t writeTimeNs = 0;  // the same in nanoseconds
    std::uint64_t size = 0;        // bytes
    Change change = Change::Unknown;
};
