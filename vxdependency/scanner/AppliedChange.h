#pragma once

#include <cstdint>
#include <string>

// A change on disk that the store has taken over.
struct AppliedChange {
    enum class Kind : std::uint8_t { Added, Removed, Modified, Moved };

    Kind kind = Kind::Modified;
    std::string path;              // a key; of a folder where a folder moved
    std::string oldPath;           // where it was, if it moved
    std::uint32_t references = 0;  // entries of its list; of a removed file, those that it had
};
