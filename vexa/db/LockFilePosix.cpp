#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <string_view>

#include "vexa/db/LockFile.h"

namespace vexa {
namespace {

constexpr mode_t kMode = 0664;  // LMDB's files get the same

std::error_code SystemError() {
    return {errno, std::generic_category()};
}

std::string OwnSignature() {
    std::string name;
    std::ifstream comm("/proc/self/comm");
    if (!std::getline(comm, name) || name.empty()) name = "a program";
    return name + " (process " + std::to_string(::getpid()) + ")\n";
}

std::string FirstBytes(int file) {
    std::array<char, 128> bytes;
    const ssize_t length = ::pread(file, bytes.data(), bytes.size(), 0);
    return {bytes.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

// Locks of the open file description (POSIX.1-2024): unlike the older ones of the process, they do
// not vanish when some other descriptor of the same file is closed.
int Apply(int file, LockRegion region, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(region);
    lock.l_len = 1;
    return ::fcntl(file, F_OFD_SETLK, &lock);
}

}  // namespace

std::error_code LockFile::Open(const std::string& path, bool readOnly) {
    Close();
    const int flags = readOnly ? O_RDONLY : O_RDWR | O_CREAT;
    m_file = ::open(path.c_str(), flags | O_CLOEXEC, kMode);
    if (m_file == kNoFile) return SystemError();
    m_shared = readOnly;
    m_signature = OwnSignature();
    return {};
}

void LockFile::Close() {
    if (IsOpen()) ::close(m_file);
    m_file = kNoFile;
}

std::error_code LockFile::TryLock(LockRegion region) {
    const short type = m_shared ? F_RDLCK : F_WRLCK;
    if (Apply(m_file, region, type) == 0) return {};
    if (errno == EACCES) errno = EAGAIN;  // the standard allows either
    return SystemError();
}

void LockFile::Unlock(LockRegion region) {
    Apply(m_file, region, F_UNLCK);
}

void LockFile::SignAsHolder() {
    if (FirstBytes(m_file).starts_with(m_signature)) return;
    // On a full disk the name stays wrong or unknown, which only a message suffers from.
    [[maybe_unused]] const ssize_t written =
        ::pwrite(m_file, m_signature.data(), m_signature.size(), 0);
}

std::string LockFile::Holder() const {
    const std::string text = FirstBytes(m_file);
    const std::size_t end = text.find('\n');
    return end == std::string::npos ? "another process" : text.substr(0, end);
}

}  // namespace vexa
