#include <fmt/format.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "vexa/os/AtomicFile.h"
#include "vexa/os/FileStepsPosix.h"
#include "vexa/os/PosixFile.h"

namespace vexa::os {

namespace {

// Looks at what is to be replaced. False with errno when it must not be; nothing there is fine.
bool LookAtOld(const std::string& target, struct stat& old, bool& exists) {
    exists = ::lstat(target.c_str(), &old) == 0;
    if (!exists) return errno == ENOENT;
    if (S_ISREG(old.st_mode)) {
        return ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) == 0;
    }
    // A link that is still one after following leads nowhere.
    errno = S_ISDIR(old.st_mode) ? EISDIR : S_ISLNK(old.st_mode) ? ENOENT : EINVAL;
    return false;
}

// Makes a new file in a directory and tells its name; -1 with errno. No generator knows the
// extension, so that no walk makes anything of the file.
int CreateIn(const std::string& directory, mode_t mode, std::string& path) {
    static std::atomic<unsigned> count = 0;
    int file = -1;
    do {
        path = fmt::format("{}.save.vxtmp{:x}x{:x}", directory, ::getpid(), count++);
        file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    } while (file < 0 && errno == EEXIST);
    return file;
}

}  // namespace

bool AtomicFile::Open(const std::string& path) {
    Abandon();
    m_path = path;
    m_target = ThroughLinks(path);
    return Begin() || Fail();
}

bool AtomicFile::Begin() {
    struct stat old;
    bool exists = false;
    if (!LookAtOld(m_target, old, exists)) return false;
    // Nobody may look into the new file who could not look into the old one.
    m_handle = CreateIn(DirectoryOf(m_target), exists ? 0600 : 0666, m_copy);
    if (!IsOpen()) m_copy.clear();
    return IsOpen() && (!exists || TakeOver(old, static_cast<int>(m_handle)));
}

bool AtomicFile::Write(const void* bytes, std::size_t size) {
    if (!IsOpen()) return false;
    return WriteAll(static_cast<int>(m_handle), static_cast<const char*>(bytes), size) || Fail();
}

bool AtomicFile::Commit() {
    if (!IsOpen()) return false;
    if (::fsync(static_cast<int>(m_handle)) != 0 || !Close()) return Fail();
    if (std::rename(m_copy.c_str(), m_target.c_str()) != 0) return Fail();
    m_copy.clear();
    return SyncDirectory(DirectoryOf(m_target)) || Fail();
}

void AtomicFile::Abandon() {
    Close();
    if (!m_copy.empty()) Discard(m_copy.c_str());
    m_copy.clear();
    m_error.clear();
}

bool AtomicFile::Close() {
    const bool closed = !IsOpen() || ::close(static_cast<int>(m_handle)) == 0;
    m_handle = kNone;
    return closed;
}

// Notes errno as the reason and gives up.
bool AtomicFile::Fail() {
    const int error = errno;
    Abandon();
    m_error =
        fmt::format("{}: cannot be saved: {}", m_path, std::generic_category().message(error));
    return false;
}

bool SaveFile(const std::string& path, std::string_view bytes, std::string& error) {
    AtomicFile file;
    const bool saved = file.Open(path) && file.Write(bytes.data(), bytes.size()) && file.Commit();
    error = file.GetError();
    return saved;
}

}  // namespace vexa::os
