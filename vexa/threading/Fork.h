#pragma once

namespace vexa {

// Has `function` called in every child process that fork() makes of this one, before fork() returns
// there. Where a system has no fork this does nothing.
void CallInForkedChild(void (*function)());

}  // namespace vexa
