#pragma once

#include <chrono>
#include <string>
#include <system_error>

namespace vexa {

// What processes take turns for. Each is one byte of the lock file.
enum class LockRegion {
    Writer,   // writing
    Queue,    // being the next to write
    Opening,  // examining or creating the data file
};

// A file by which processes exclude one another; its text names the one that writes. The system
// releases the locks of a process that ends, however it ends. Threads of one process that share
// the object are not excluded.
class LockFile {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    LockFile() = default;
    ~LockFile() { Close(); }
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;

    // Opens the file; made if need be, unless `readOnly`, which takes its locks shared.
    std::error_code Open(const std::string& path, bool readOnly);
    void Close();
    bool IsOpen() const { return m_file != kNoFile; }

    // Takes a lock; timed_out when another process holds it past the deadline. It is looked for
    // again and again, since waiting in the system knows no deadline.
    std::error_code LockUntil(LockRegion region, Deadline deadline);
    // resource_unavailable_try_again when another process holds it.
    std::error_code TryLock(LockRegion region);
    void Unlock(LockRegion region);

    // Writes this process's name into the file, for others who wait.
    void SignAsHolder();
    // The process that wrote its name last, as "vxdep (process 1234)".
    std::string Holder() const;

private:
    static constexpr int kNoFile = -1;

    int m_file = kNoFile;
    bool m_shared = false;
    std::string m_signature;
};

// A lock for the life of the object.
class RegionLock {
public:
    RegionLock(LockFile& file, LockRegion region, LockFile::Deadline deadline)
        : m_file(file), m_region(region), m_error(file.LockUntil(region, deadline)) {}
    ~RegionLock() {
        if (!m_error) m_file.Unlock(m_region);
    }
    RegionLock(const RegionLock&) = delete;
    RegionLock& operator=(const RegionLock&) = delete;

    const std::error_code& Error() const { return m_error; }

private:
    LockFile& m_file;
    LockRegion m_region;
    std::error_code m_error;
};

}  // namespace vexa
