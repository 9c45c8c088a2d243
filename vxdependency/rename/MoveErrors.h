#pragma once

#include <cstdint>
#include <string>

namespace vexa {

// Says for a person why `from` (a key, or any other path) cannot be moved to `to`, by the error as
// GetLastError numbers them.
std::string WhyNotMoved(const std::string& from, const std::string& to, std::uint32_t error);

}  // namespace vexa
