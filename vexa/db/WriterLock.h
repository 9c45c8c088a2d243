#pragma once

#include <chrono>
#include <string>

#include "vexa/db/FairLock.h"
#include "vexa/db/LockFile.h"

namespace vexa {

// How long operations wait for a writer before they fail: 30 seconds, unless set (tests do).
std::chrono::milliseconds WriterPatience();
void SetWriterPatience(std::chrono::milliseconds patience);
std::chrono::steady_clock::time_point WriterDeadline();

// The right to write to one database: among the threads of this process first, then among
// processes. Both are fair. LMDB's own writer lock cannot be interrupted, so it is taken only by
// whoever holds this one, and is free then.
//
// Fairness among processes comes from the queue region: a writer takes it before the writer region
// and gives it back when it has that. So a process that writes in a loop finds the queue taken by
// the one that waits, and lets it pass, although the waiting is done by looking again and again.
// The price is two system calls per transaction, little beside the syncing of a commit.
class WriterLock {
public:
    // The file must be open while the lock is used.
    explicit WriterLock(LockFile& file) : m_file(file) {}

    // False past the deadline or on an error; `why` names the process in the way then.
    bool Lock(std::string& why);
    void Unlock();

    // Only one half each: for a file that no other thread has yet, and for ending this process's
    // use.
    bool LockOutProcesses(LockFile::Deadline deadline, std::string& why);
    void LetInProcesses() { m_file.Unlock(LockRegion::Writer); }
    bool LockOutThreads() { return m_threads.LockUntil(WriterDeadline()); }
    void LetInThreads() { m_threads.Unlock(); }

private:
    FairLock m_threads;
    LockFile& m_file;
};

}  // namespace vexa
