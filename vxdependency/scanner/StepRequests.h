#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

// Where threads ask a loop for a step that begins after their asking, and wait for its end.
class StepRequests {
public:
    using Clock = std::chrono::steady_clock;

    // Asks, and waits until the loop has answered; false when that takes too long.
    bool AskAndWait(Clock::time_point deadline) {
        std::unique_lock lock(m_guard);
        const std::uint64_t mine = ++m_asked;
        m_changed.notify_all();
        return m_changed.wait_until(lock, deadline, [&] { return m_answered >= mine; });
    }

    // For the loop: sleeps, or returns early when somebody asks.
    void Sleep(Clock::duration time) {
        std::unique_lock lock(m_guard);
        m_changed.wait_for(lock, time, [this] { return m_asked != m_seen; });
        m_seen = m_asked;
    }
    // To be called when a step begins and, with what that returned, when it has done what was
    // asked.
    std::uint64_t Begin() {
        const std::lock_guard lock(m_guard);
        return m_asked;
    }
    void Answer(std::uint64_t asked) {
        const std::lock_guard lock(m_guard);
        m_answered = asked;
        m_changed.notify_all();
    }
    bool AnyWaiting() {
        const std::lock_guard lock(m_guard);
        return m_answered != m_asked;
    }

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    std::uint64_t m_asked = 0;
    std::uint64_t m_seen = 0;
    std::uint64_t m_answered = 0;
};
