#include <cerrno>

#include "vexa/os/LastErrorPosix.h"
#include "vexa/os/PosixFile.h"
#include "vexa/os/WindowsApi.h"

using namespace vexa::os;

DWORD GetFileAttributesA(LPCSTR path) {
    struct stat entry;
    DWORD attributes = 0;
    if (!Look(AT_FDCWD, NativePath(path).c_str(), entry, attributes)) {
        Fail(errno);
        return INVALID_FILE_ATTRIBUTES;
    }
    return attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes;
}

BOOL PathIsDirectoryA(LPCSTR path) {
    struct stat entry;
    const bool directory = ::stat(NativePath(path).c_str(), &entry) == 0 && S_ISDIR(entry.st_mode);
    return directory ? TRUE : FALSE;
}

// The modes are those of POSIX.
int _access(const char* path, int mode) {
    return ::access(NativePath(path).c_str(), mode);
}
