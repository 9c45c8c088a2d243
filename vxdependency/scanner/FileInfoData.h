#pragma once

#include <cstdint>
#include <string>

// A file that a scan found.
struct FileInfoData {
    std::string path;            // the root, then "\\" and a name for each step down, as walked
    std::int64_t timestamp = 0;  // last write, seconds since 1970-01-01 UTC
};

// Whole seconds of a time in nanoseconds, also before 1970.
inline std::int64_t WholeSeconds(std::int64_t nanoseconds) {
    constexpr std::int64_t kPerSecond = 1'000'000'000;
    return nanoseconds / kPerSecond - (nanoseconds % kPerSecond < 0 ? 1 : 0);
}
