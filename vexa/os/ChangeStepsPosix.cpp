#include <linux/fs.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstdio>

#include "vexa/os/ChangeSteps.h"
#include "vexa/os/FileStepsPosix.h"
#include "vexa/os/PosixFile.h"
#include "vexa/os/WindowsApi.h"

namespace vexa::os {

namespace {

bool MayWrite(const char* path) {
    return ::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0;
}

bool SyncPath(const std::string& path, int flags) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags));
    if (!file.IsOpen()) return false;
    // Some file systems of networks know no such thing for folders.
    return ::fsync(file.Number()) == 0 || (flags != 0 && errno == EINVAL);
}

// CopyFileA with errno instead of its code.
bool CopyDurably(const std::string& from, const std::string& to) {
    errno = 0;
    if (CopyFileA(from.c_str(), to.c_str(), FALSE)) return SyncFolder(DirectoryOf(to));
    if (errno == 0) errno = EIO;
    return false;
}

}  // namespace

FileIdentity IdentityOf(const std::string& path) {
    struct stat entry;
    if (::lstat(path.c_str(), &entry) != 0) return {};
    const FileState state = StateOf(entry);
    return {entry.st_ino, state.writeTimeNs, state.size};
}

bool EntryExists(const std::string& path) {
    struct stat entry;
    return ::lstat(path.c_str(), &entry) == 0;
}

std::string FollowLinks(const std::string& path) {
    struct stat entry;
    if (::lstat(path.c_str(), &entry) != 0 || !S_ISLNK(entry.st_mode)) return path;
    return ThroughLinks(path);
}

bool CanReplace(const std::string& path) {
    struct stat entry;
    if (::lstat(path.c_str(), &entry) == 0) {
        if (!S_ISREG(entry.st_mode)) {
            errno = S_ISDIR(entry.st_mode) ? EISDIR : EINVAL;
            return false;
        }
        if (!MayWrite(path.c_str())) return false;
    }
    return CanChangeFolder(DirectoryOf(path));
}

bool CanChangeFolder(const std::string& folder) {
    return ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

bool MakeFolder(const std::string& path) {
    return ::mkdir(path.c_str(), 0777) == 0 || errno == EEXIST;
}

bool WriteNewFile(const std::string& path, std::string_view bytes, const std::string& like) {
    struct stat old;
    const bool exists = ::lstat(like.c_str(), &old) == 0;
    // Nobody may look into the new file who could not look into the old one.
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    const Descriptor file(::open(path.c_str(), flags, exists ? 0600 : 0666));
    if (!file.IsOpen()) return false;
    if (exists && !TakeOver(old, file.Number())) return false;
    return WriteAll(file.Number(), bytes.data(), bytes.size());
}

bool KeepContents(const std::string& file, const std::string& kept) {
    if (::link(file.c_str(), kept.c_str()) == 0) return true;
    if (errno != EXDEV && errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK) return false;
    return CopyDurably(file, kept);
}

bool PutInPlace(const std::string& file, const std::string& place) {
    if (std::rename(file.c_str(), place.c_str()) == 0) return true;
    if (errno != EXDEV) return false;
    return CopyDurably(file, place) && ::unlink(file.c_str()) == 0;
}

bool Remove(const std::string& path) {
    return ::unlink(path.c_str()) == 0;
}

bool SyncFile(const std::string& path) {
    return SyncPath(path, 0);
}

bool SyncFolder(const std::string& path) {
    return SyncPath(path, O_DIRECTORY);
}

bool SyncFileSystem(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file.IsOpen() && ::syncfs(file.Number()) == 0;
}

void SpreadFolders(const std::string& path) {
    const Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    int flags = 0;
    if (!folder.IsOpen() || ::ioctl(folder.Number(), FS_IOC_GETFLAGS, &flags) != 0) return;
    flags |= FS_TOPDIR_FL;
    ::ioctl(folder.Number(), FS_IOC_SETFLAGS, &flags);
}

bool Touch(const std::string& path) {
    return ::utimensat(AT_FDCWD, path.c_str(), nullptr, AT_SYMLINK_NOFOLLOW) == 0;
}

bool SameFileSystem(const std::string& left, const std::string& right) {
    struct stat a;
    struct stat b;
    return ::stat(left.c_str(), &a) == 0 && ::stat(right.c_str(), &b) == 0 && a.st_dev == b.st_dev;
}

}  // namespace vexa::os
