#include "vexa/os/LastErrorPosix.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

struct Code {
    int error;
    DWORD windows;
};

constexpr std::array codes{
    Code{0, ERROR_SUCCESS},
    Code{ENOENT, ERROR_FILE_NOT_FOUND},
    Code{ENOTDIR, ERROR_PATH_NOT_FOUND},
    Code{EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    Code{ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    Code{EACCES, ERROR_ACCESS_DENIED},
    Code{EPERM, ERROR_ACCESS_DENIED},
    Code{EISDIR, ERROR_ACCESS_DENIED},
    Code{ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    Code{EXDEV, ERROR_NOT_SAME_DEVICE},
    Code{EROFS, ERROR_WRITE_PROTECT},
    Code{EBUSY, ERROR_SHARING_VIOLATION},
    Code{ETXTBSY, ERROR_SHARING_VIOLATION},
    Code{EINVAL, ERROR_INVALID_PARAMETER},
    Code{ENOSPC, ERROR_DISK_FULL},
    Code{EDQUOT, ERROR_DISK_FULL},
    Code{ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    Code{EEXIST, ERROR_ALREADY_EXISTS},
    Code{ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
};

}  // namespace

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD code) {
    lastError = code;
}

namespace vexa::os {

DWORD WindowsCode(int error) {
    const auto* known = std::find_if(codes.begin(), codes.end(),
                                     [error](const Code& code) { return code.error == error; });
    return known == codes.end() ? ERROR_GEN_FAILURE : known->windows;
}

BOOL Fail(int error) {
    SetLastError(WindowsCode(error));
    return FALSE;
}

}  // namespace vexa::os
