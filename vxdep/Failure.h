#pragma once

#include <stdexcept>

namespace vxdep {

// Why a command cannot be done, in one line that names the file; ends the command.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace vxdep
