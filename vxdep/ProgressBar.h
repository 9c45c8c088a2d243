#pragma once

#include <chrono>
#include <string>

namespace vxdep {

// A bar on the status line: drawn when standard error is a terminal, messages are wanted, and the
// work has lasted long enough that somebody wonders. It goes when the object goes.
class ProgressBar {
public:
    ProgressBar();
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Show(int percent, const std::string& detail);

private:
    using Clock = std::chrono::steady_clock;

    bool m_wanted;
    Clock::time_point m_start = Clock::now();
};

}  // namespace vxdep
