#pragma once

#include <cstdint>

namespace vexa::os {

// The run-time library's clock as the engine uses it: wall time in milliseconds since an arbitrary
// start. (C's own clock counts processor time on POSIX systems.)
std::int64_t WallClockMs();

// Milliseconds since 1970-01-01 UTC.
std::int64_t UnixTimeMs();

}  // namespace vexa::os
