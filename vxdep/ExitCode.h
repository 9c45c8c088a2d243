#pragma once

namespace vxdep {

// What the program tells its caller by its exit status.
enum class ExitCode {
    Done = 0,        // the command did what it was asked, and found nothing wrong
    Failed = 1,      // it could not be done, was interrupted, or `check` found something wrong
    WrongUsage = 2,  // the command line was not understood; nothing was touched
};

}  // namespace vxdep
