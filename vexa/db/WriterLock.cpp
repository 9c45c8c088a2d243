#include "vexa/db/WriterLock.h"

#include <fmt/format.h>

#include <atomic>

namespace vexa {
namespace {

std::atomic<std::chrono::milliseconds> g_patience{std::chrono::seconds(30)};

std::string InUse(const LockFile& file) {
    const std::chrono::duration<double> seconds = WriterPatience();
    return fmt::format("in use by {} for more than {:g} seconds", file.Holder(), seconds.count());
}

}  // namespace

std::chrono::milliseconds WriterPatience() {
    return g_patience;
}

void SetWriterPatience(std::chrono::milliseconds patience) {
    g_patience = patience;
}

std::chrono::steady_clock::time_point WriterDeadline() {
    return std::chrono::steady_clock::now() + WriterPatience();
}

bool WriterLock::Lock(std::string& why) {
    const auto deadline = WriterDeadline();
    if (!m_threads.LockUntil(deadline)) {
        why = InUse(m_file);
        return false;
    }
    if (LockOutProcesses(deadline, why)) return true;
    m_threads.Unlock();
    return false;
}

void WriterLock::Unlock() {
    LetInProcesses();
    m_threads.Unlock();
}

bool WriterLock::LockOutProcesses(LockFile::Deadline deadline, std::string& why) {
    const RegionLock queue(m_file, LockRegion::Queue, deadline);
    std::error_code error = queue.Error();
    if (!error) error = m_file.LockUntil(LockRegion::Writer, deadline);
    if (!error) {
        m_file.SignAsHolder();
        return true;
    }
    why = error == std::errc::timed_out ? InUse(m_file)
                                        : "cannot lock the writer's lock file: " + error.message();
    return false;
}

}  // namespace vexa
