#include "vexa/os/FileStepsPosix.h"

#include <cerrno>
#include <cstdlib>

#include "vexa/os/PosixFile.h"

namespace vexa::os {

void Discard(const char* path) {
    const int error = errno;
    ::unlink(path);
    errno = error;
}

std::string DirectoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return path.substr(0, slash + 1);
}

bool SyncDirectory(const std::string& directory) {
    const Descriptor file(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!file.IsOpen()) return false;
    // Some file systems of networks know no such thing.
    return ::fsync(file.Number()) == 0 || errno == EINVAL;
}

bool TakeOver(const struct stat& old, int file) {
    mode_t mode = old.st_mode & 07777;
    const bool owned = ::fchown(file, old.st_uid, old.st_gid) == 0;
    const bool sameGroup = owned || ::fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0;
    if (!owned || !sameGroup) mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
    // The file is ours: it is the file system that has no permissions if this is not permitted.
    return ::fchmod(file, mode) == 0 || errno == EPERM;
}

bool WriteAll(int file, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t put = ::write(file, bytes, size);
        if (put < 0 && errno != EINTR) return false;
        if (put <= 0) continue;
        bytes += put;
        size -= static_cast<std::size_t>(put);
    }
    return true;
}

std::string ThroughLinks(const std::string& path) {
    char* const resolved = ::realpath(path.c_str(), nullptr);
    if (resolved == nullptr) return path;
    std::string target = resolved;
    std::free(resolved);
    return target;
}

}  // namespace vexa::os
