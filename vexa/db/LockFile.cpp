#include "vexa/db/LockFile.h"

#include <algorithm>
#include <thread>

namespace vexa {

std::error_code LockFile::LockUntil(LockRegion region, Deadline deadline) {
    using namespace std::chrono_literals;
    constexpr auto kLongestPause = 4ms;
    for (std::chrono::microseconds pause = 50us;; pause = std::min(pause * 2, {kLongestPause})) {
        const std::error_code error = TryLock(region);
        if (error != std::errc::resource_unavailable_try_again) return error;
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline) return std::make_error_code(std::errc::timed_out);
        std::this_thread::sleep_until(std::min(now + pause, deadline));
    }
}

}  // namespace vexa
