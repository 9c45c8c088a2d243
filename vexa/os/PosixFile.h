#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "vexa/common/FileService.h"
#include "vexa/os/WindowsApi.h"

// What the POSIX implementations of the os folder share.
namespace vexa::os {

// An open file, closed with the object.
class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0) ::close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return m_number; }
    bool IsOpen() const { return m_number >= 0; }
    int Detach() { return std::exchange(m_number, -1); }

private:
    int m_number;
};

// The path as the system takes it. The engine separates with "\" as well, so that a name with a
// backslash in it cannot be reached; the walks skip such names with a warning.
inline std::string NativePath(const char* path) {
    std::string native = path;
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

// The bits of an entry that is no link; 0 for an ordinary file.
inline DWORD AttributesOf(const struct stat& entry) {
    const DWORD directory = S_ISDIR(entry.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    const DWORD readOnly = (entry.st_mode & S_IWUSR) == 0 ? FILE_ATTRIBUTE_READONLY : 0;
    return directory | readOnly;
}

// Looks at an entry of an open directory and, when that is a link, at what it leads to; `entry` is
// the link's own when it leads nowhere. False with errno when there is no such entry.
inline bool Look(int directory, const char* name, struct stat& entry, DWORD& attributes) {
    if (::fstatat(directory, name, &entry, AT_SYMLINK_NOFOLLOW) != 0) return false;
    const bool link = S_ISLNK(entry.st_mode);
    struct stat target;
    if (link && ::fstatat(directory, name, &target, 0) == 0) entry = target;
    attributes = AttributesOf(entry) | (link ? FILE_ATTRIBUTE_REPARSE_POINT : 0);
    return true;
}

inline FileState StateOf(const struct stat& entry) {
    const std::int64_t seconds = entry.st_mtim.tv_sec;
    return {true, S_ISDIR(entry.st_mode), seconds * 1'000'000'000 + entry.st_mtim.tv_nsec,
            static_cast<std::uint64_t>(entry.st_size)};
}

// Gives `from` the name `to` without ever replacing what is there, on file systems that lack such a
// rename. Otherwise as MoveWithoutReplacing.
bool MoveByLinking(const char* from, const char* to);

// Gives `from` the name `to` on the same file system. False with errno, EEXIST when `to` exists.
bool MoveWithoutReplacing(const char* from, const char* to);

}  // namespace vexa::os
