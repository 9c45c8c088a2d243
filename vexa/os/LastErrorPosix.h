#pragma once

#include "vexa/os/WindowsApi.h"

namespace vexa::os {

// The code with which Windows reports what POSIX reports with an errno value.
DWORD WindowsCode(int error);

// Notes the code of an errno value as the thread's last error and returns FALSE.
BOOL Fail(int error);

}  // namespace vexa::os
