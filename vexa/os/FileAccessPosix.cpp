#include <cerrno>
#include <new>

#include "vexa/os/FileAccess.h"
#include "vexa/os/PosixFile.h"

namespace vexa::os {

namespace {

std::unique_ptr<char[]> Allocate(std::size_t size) {
    return std::unique_ptr<char[]>(new (std::nothrow) char[size]);
}

ssize_t ReadSome(int file, char* to, std::size_t size) {
    ssize_t got = 0;
    do got = ::read(file, to, size);
    while (got < 0 && errno == EINTR);
    return got;
}

// Makes room for the NUL and at least as much again.
bool Grow(FileContents& contents, std::size_t& capacity) {
    auto larger = Allocate(capacity * 2);
    if (!larger) return false;
    std::copy_n(contents.bytes.get(), contents.size, larger.get());
    contents.bytes = std::move(larger);
    capacity *= 2;
    return true;
}

// Reads to the end. A file that has given the size that it said it has is not asked for more: that
// would be one system call in five for small files.
bool ReadToEnd(int file, FileContents& contents, std::size_t capacity) {
    const std::size_t expected = capacity - 1;
    while (true) {
        const std::size_t room = capacity - contents.size;
        const ssize_t got = ReadSome(file, contents.bytes.get() + contents.size, room);
        if (got < 0) return false;
        contents.size += static_cast<std::size_t>(got);
        if (got == 0 || contents.size == expected) break;
        if (contents.size == capacity && !Grow(contents, capacity)) return false;
    }
    contents.bytes[contents.size] = '\0';
    return true;
}

// The number of an open regular file; -1 with errno.
int OpenRegular(const std::string& path, struct stat& entry) {
    // Without O_NONBLOCK, opening a pipe would wait for a writer.
    Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.IsOpen() || ::fstat(file.Number(), &entry) != 0) return -1;
    if (S_ISREG(entry.st_mode)) return file.Detach();
    errno = S_ISDIR(entry.st_mode) ? EISDIR : EINVAL;
    return -1;
}

}  // namespace

FileContents ReadWholeFile(const std::string& path) {
    struct stat entry;
    const Descriptor file(OpenRegular(path, entry));
    if (!file.IsOpen()) return {};

    const std::size_t capacity = static_cast<std::size_t>(entry.st_size) + 1;
    FileContents contents{Allocate(capacity), 0};
    if (contents.bytes && ReadToEnd(file.Number(), contents, capacity)) return contents;
    if (!contents.bytes) errno = ENOMEM;
    const int error = errno;  // which closing the file may change
    contents = {};
    errno = error;
    return contents;
}

bool InputFile::Open(const std::string& path) {
    Close();
    struct stat entry;
    m_handle = OpenRegular(path, entry);
    m_size = IsOpen() ? static_cast<std::uint64_t>(entry.st_size) : 0;
    return IsOpen();
}

void InputFile::Close() {
    if (IsOpen()) ::close(static_cast<int>(m_handle));
    m_handle = kNone;
}

bool InputFile::Read(void* to, std::size_t size) {
    auto* next = static_cast<char*>(to);
    while (size > 0) {
        errno = 0;
        const ssize_t got = ReadSome(static_cast<int>(m_handle), next, size);
        if (got <= 0) return false;
        next += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

FileState StateOfPath(const std::string& path) {
    struct stat entry;
    return ::stat(path.c_str(), &entry) == 0 ? StateOf(entry) : FileState{};
}

bool IsRegularFile(const std::string& path) {
    struct stat entry;
    return ::stat(path.c_str(), &entry) == 0 && S_ISREG(entry.st_mode);
}

}  // namespace vexa::os
