#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "vexa/db/Platform.h"

namespace vexa {
namespace {

std::mutex* g_heldWhileForking = nullptr;
std::atomic<unsigned> g_forkDepth = 0;

void BeforeFork() {
    g_heldWhileForking->lock();
}
void AfterForkInParent() {
    g_heldWhileForking->unlock();
}
void AfterForkInChild() {
    ++g_forkDepth;
    g_heldWhileForking->unlock();
}

class Descriptor {
public:
    Descriptor(const std::string& path, int flags)
        : m_file(::open(path.c_str(), flags | O_CLOEXEC, 0664)) {}
    ~Descriptor() {
        if (m_file >= 0) ::close(m_file);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return m_file; }

private:
    int m_file;
};

std::error_code SystemError(int code) {
    return {code, std::generic_category()};
}

// Asking for blocks that are there already must not touch the file: the system's fallback writes,
// and other processes may have it mapped.
bool HasBlocks(int file, std::size_t size) {
    struct stat status = {};
    return ::fstat(file, &status) == 0 && static_cast<std::size_t>(status.st_size) >= size &&
           static_cast<std::size_t>(status.st_blocks) * 512 >= size;
}

}  // namespace

void HoldWhileForking(std::mutex& mutex) {
    g_heldWhileForking = &mutex;
    ::pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
}

unsigned ForkDepth() {
    return g_forkDepth.load(std::memory_order_relaxed);
}

bool IsSameFile(mdb_filehandle_t file, const std::string& path) {
    struct stat opened = {};
    struct stat named = {};
    return ::fstat(file, &opened) == 0 && ::stat(path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

std::error_code ReserveFile(const std::string& path, std::size_t size) {
    const Descriptor file(path, O_RDWR | O_CREAT);
    if (file < 0) return SystemError(errno);
    if (HasBlocks(file, size)) return {};
    return SystemError(::posix_fallocate(file, 0, static_cast<off_t>(size)));
}

std::error_code SyncDirectory(const std::string& path) {
    const Descriptor directory(path, O_RDONLY | O_DIRECTORY);
    return directory >= 0 && ::fsync(directory) == 0 ? std::error_code() : SystemError(errno);
}

}  // namespace vexa
