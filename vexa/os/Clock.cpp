#include "vexa/os/Clock.h"

#include <chrono>

namespace vexa::os {

namespace {

template <class Clock>
std::int64_t Milliseconds() {
    const auto now = Clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

}  // namespace

std::int64_t WallClockMs() {
    return Milliseconds<std::chrono::steady_clock>();
}

std::int64_t UnixTimeMs() {
    return Milliseconds<std::chrono::system_clock>();
}

}  // namespace vexa::os
