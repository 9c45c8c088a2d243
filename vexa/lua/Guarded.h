#pragma once

#include <exception>
#include <utility>

#include "vexa/common/Log.h"

namespace vexa {

// Runs native code on behalf of a script; no exception gets out into Lua. One is logged under the
// name of who runs it; false then. The code must not call Lua: its errors would leave it without
// running destructors.
template <class Code>
bool Guarded(const char* who, Code&& code) noexcept {
    try {
        std::forward<Code>(code)();
        return true;
    } catch (const std::exception& error) {
        // Without the memory to say so, false has to do.
        try {
            LogError("%s: %s", who, error.what());
        } catch (const std::exception&) {
        }
    }
    return false;
}

}  // namespace vexa
