#pragma once

#include <cstdint>
#include <string>
#include <utility>

// When the store is compared with the whole tree, because changes may have been missed. Times are
// in milliseconds; for one thread.
class RescanPlan {
public:
    // The first is made at once. One that is wanted soon after another waits a second, and each
    // further one twice as long as the one before.
    static constexpr std::int64_t kFirstDelay = 1000;
    static constexpr std::int64_t kLongestDelay = 60'000;

    void Want(const std::string& reason) {
        if (m_reason.empty()) m_reason = reason;
    }
    bool IsWanted() const { return !m_reason.empty(); }
    bool IsDue(std::int64_t now) const { return IsWanted() && now >= m_notBefore; }

    // To be called when one begins, which serves what was wanted so far, and when it has ended.
    // Begin returns the reason.
    std::string Begin() { return std::exchange(m_reason, {}); }
    void End(std::int64_t now);

private:
    std::string m_reason;
    std::int64_t m_delay = 0;
    std::int64_t m_notBefore = 0;
};
