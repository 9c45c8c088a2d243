#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "vexa/common/FileService.h"

// Reading of files by their absolute path. All functions may be called from any thread.
namespace vexa::os {

struct FileContents {
    std::unique_ptr<char[]> bytes;  // followed by one NUL; null when the file could not be read
    std::size_t size = 0;
};

// Reads a regular file, through links, as far as it goes at that moment: a file that grows or
// shrinks meanwhile gives what was read until its end was met. Anything but a regular file counts
// as unreadable and is not waited for.
FileContents ReadWholeFile(const std::string& path);

// State of what is at `path`, through links; not existing when it cannot be looked at.
FileState StateOfPath(const std::string& path);

// True if a regular file is there, through links.
bool IsRegularFile(const std::string& path);

}  // namespace vexa::os
