#pragma once

#include "vxdep/ExitCode.h"

namespace vxdep {

// Parses the command line and runs the command that it names. Throws Failure when the command
// cannot be done.
ExitCode RunCommandLine(int argc, char** argv);

}  // namespace vxdep
