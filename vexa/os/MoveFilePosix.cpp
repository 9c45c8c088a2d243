#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <vector>

#include "vexa/os/FileStepsPosix.h"
#include "vexa/os/LastErrorPosix.h"
#include "vexa/os/PosixFile.h"

// Moving and copying of files. A copy is made under a name of its own beside the target and gets
// the target's name when it is complete and on the disk: no crash leaves half a target.

namespace vexa::os {

namespace {

bool Exists(const char* path) {
    struct stat entry;
    return ::lstat(path, &entry) == 0;
}

bool FailWith(int error) {
    errno = error;
    return false;
}

bool CopyBytes(int from, int to) {
    std::vector<char> buffer(std::size_t{1} << 17);
    while (true) {
        const ssize_t got = ::read(from, buffer.data(), buffer.size());
        if (got == 0) return true;
        if (got < 0 && errno != EINTR) return false;
        if (got > 0 && !WriteAll(to, buffer.data(), static_cast<std::size_t>(got))) return false;
    }
}

bool CopyProperties(const struct stat& entry, int to) {
    const std::array<timespec, 2> times{entry.st_atim, entry.st_mtim};
    // The file is ours: it is the file system that has no permissions if this is not permitted.
    const bool permissions = ::fchmod(to, entry.st_mode & 07777) == 0 || errno == EPERM;
    return permissions && ::futimens(to, times.data()) == 0;
}

// Copies a regular file to a new file beside `to`, synced, and tells its name.
bool CopyBeside(const std::string& from, const std::string& to, std::string& copy) {
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat entry;
    if (!source.IsOpen() || ::fstat(source.Number(), &entry) != 0) return false;
    if (!S_ISREG(entry.st_mode)) return FailWith(S_ISDIR(entry.st_mode) ? EISDIR : EINVAL);

    // No generator knows the extension, so that no walk makes anything of the file.
    copy = DirectoryOf(to) + "/.copy.vxtmpXXXXXX";
    const Descriptor target(::mkostemp(copy.data(), O_CLOEXEC));
    if (!target.IsOpen()) return false;
    if (CopyBytes(source.Number(), target.Number()) && CopyProperties(entry, target.Number()) &&
        ::fsync(target.Number()) == 0)
        return true;
    Discard(copy.c_str());
    return false;
}

bool Copy(const std::string& from, const std::string& to, bool replace) {
    std::string copy;
    if (!CopyBeside(from, to, copy)) return false;
    const bool named = replace ? std::rename(copy.c_str(), to.c_str()) == 0
                               : MoveWithoutReplacing(copy.c_str(), to.c_str());
    if (!named) Discard(copy.c_str());
    return named;
}

bool CopyLink(const std::string& from, const std::string& to) {
    std::array<char, PATH_MAX> text;
    const ssize_t length = ::readlink(from.c_str(), text.data(), text.size() - 1);
    if (length < 0) return false;
    text[static_cast<std::size_t>(length)] = '\0';
    return ::symlink(text.data(), to.c_str()) == 0;
}

// Directories and special files stay on their device.
bool MoveAcrossDevices(const std::string& from, const std::string& to) {
    struct stat entry;
    if (::lstat(from.c_str(), &entry) != 0) return false;
    const bool link = S_ISLNK(entry.st_mode);
    if (!link && !S_ISREG(entry.st_mode)) return FailWith(EXDEV);
    if (link ? !CopyLink(from, to) : !Copy(from, to, false)) return false;
    if (SyncDirectory(DirectoryOf(to)) && ::unlink(from.c_str()) == 0) return true;
    Discard(to.c_str());
    return false;
}

// Of a missing path Windows tells whether it is the file or its directory.
BOOL FailOfTwo(int error, const std::string& from) {
    if (error != ENOENT || !Exists(from.c_str())) return Fail(error);
    SetLastError(ERROR_PATH_NOT_FOUND);
    return FALSE;
}

}  // namespace

bool MoveByLinking(const char* from, const char* to) {
    if (::link(from, to) == 0) {
        if (::unlink(from) == 0) return true;
        Discard(to);
        return false;
    }
    if (errno == EEXIST) return false;
    // Directories, and file systems without links: here a target that appears between the look and
    // the rename would be replaced.
    if (Exists(to)) return FailWith(EEXIST);
    return std::rename(from, to) == 0;
}

bool MoveWithoutReplacing(const char* from, const char* to) {
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    const bool unknownToFileSystem = errno == EINVAL || errno == ENOSYS;
    return unknownToFileSystem && MoveByLinking(from, to);
}

}  // namespace vexa::os

using namespace vexa::os;

BOOL MoveFileA(LPCSTR from, LPCSTR to) {
    const std::string source = NativePath(from);
    const std::string target = NativePath(to);
    if (MoveWithoutReplacing(source.c_str(), target.c_str())) return TRUE;
    if (errno == EXDEV && MoveAcrossDevices(source, target)) return TRUE;
    return FailOfTwo(errno, source);
}

BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists) {
    const std::string source = NativePath(from);
    const std::string target = NativePath(to);
    if (failIfExists != FALSE && Exists(target.c_str())) {
        SetLastError(ERROR_FILE_EXISTS);
        return FALSE;
    }
    const bool replace = failIfExists == FALSE;
    if (Copy(source, replace ? ThroughLinks(target) : target, replace)) return TRUE;
    if (errno != EEXIST) return FailOfTwo(errno, source);
    SetLastError(ERROR_FILE_EXISTS);
    return FALSE;
}
