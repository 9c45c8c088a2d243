#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace vexa {

// A lock among the threads of the process, with a deadline, that is handed on in the order in which
// threads asked for it. A mutex would let a thread that writes in a loop take it again and again
// before the one that waits has woken up. Any thread may unlock it.
class FairLock {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    // False when the deadline passed first.
    bool LockUntil(Deadline deadline);
    void Unlock();

private:
    struct Waiter {
        std::condition_variable turn;
        bool hasLock = false;
    };

    std::mutex m_mutex;
    bool m_held = false;
    std::deque<Waiter*> m_waiters;
};

}  // namespace vexa
