#pragma once

#include <string>

namespace vexa {

// The name under which debuggers and tools show the calling thread. The system may cut it short
// (Linux: to 15 bytes).
void SetThreadName(const std::string& name);
std::string GetThreadName();

}  // namespace vexa
