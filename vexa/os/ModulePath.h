#pragma once

#include <string>

namespace vexa::os {

// The absolute path, without links, of the library or program file that this code was loaded from;
// "" when the system does not tell. May be called from any thread.
std::string ModulePath();

}  // namespace vexa::os
