#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "vexa/common/FileService.h"

// Reading of files by their absolute path. All functions may be called from any thread.
namespace vexa::os {

struct FileContents {
    std::unique_ptr<char[]> bytes;  // followed by one NUL; null, with errno, when it was not read
    std::size_t size = 0;
};

// Reads a regular file, through links, as far as it goes at that moment: a file that grows or
// shrinks meanwhile gives what was read until its end was met. Anything but a regular file counts
// as unreadable and is not waited for.
FileContents ReadWholeFile(const std::string& path);

// A regular file that is read from its beginning on, as far as its reader wants. To be used by one
// thread at a time.
class InputFile {
public:
    InputFile() = default;
    ~InputFile() { Close(); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // Opens what is at `path`, through links, in place of what was open. False with errno; anything
    // but a regular file cannot be opened.
    bool Open(const std::string& path);
    void Close();
    bool IsOpen() const { return m_handle != kNone; }

    // In bytes, when it was opened.
    std::uint64_t Size() const { return m_size; }

    // Reads the next `size` bytes; false with errno (0 at the file's end) when it gets fewer.
    bool Read(void* to, std::size_t size);

private:
    static constexpr std::intptr_t kNone = -1;

    std::intptr_t m_handle = kNone;
    std::uint64_t m_size = 0;
};

// State of what is at `path`, through links; not existing when it cannot be looked at.
FileState StateOfPath(const std::string& path);

// True if a regular file is there, through links.
bool IsRegularFile(const std::string& path);

}  // namespace vexa::os
