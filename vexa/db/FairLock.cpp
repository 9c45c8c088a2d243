#include "vexa/db/FairLock.h"

#include <algorithm>

namespace vexa {

bool FairLock::LockUntil(Deadline deadline) {
    std::unique_lock lock(m_mutex);
    if (!m_held) {
        m_held = true;
        return true;
    }
    Waiter self;
    m_waiters.push_back(&self);
    if (self.turn.wait_until(lock, deadline, [&] { return self.hasLock; })) return true;
    m_waiters.erase(std::find(m_waiters.begin(), m_waiters.end(), &self));
    return false;
}

void FairLock::Unlock() {
    const std::lock_guard lock(m_mutex);
    if (m_waiters.empty()) {
        m_held = false;
        return;
    }
    Waiter* next = m_waiters.front();
    m_waiters.pop_front();
    next->hasLock = true;
    next->turn.notify_one();  // under the mutex: the waiter lives no longer than its wait
}

}  // namespace vexa
