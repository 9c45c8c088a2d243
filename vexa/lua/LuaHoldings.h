#pragma once

#include <lua.hpp>

#include "vexa/lua/AutoRef.h"
#include "vexa/lua/RefCounted.h"

namespace vexa {

// What the script values of a state refer to. It is kept outside of the values, since Lua may drop
// a value without finalizing it: when there is no memory to call the finalizer, or when the value
// was made while the state closes. What such a value referred to is released when the state has
// closed.

using Holding = binding::AutoRef<binding::RefCounted>;

// Pushes a value without a metatable, and returns what it refers to: nothing yet. Valid until it is
// dropped.
Holding& NewHolding(lua_State* L);
// What the value that NewHolding pushed refers to; null when it was dropped. Raises no error.
Holding* HoldingAt(lua_State* L, int index);
// Releases what the value refers to, if it was not dropped yet. Raises no error.
void DropHolding(lua_State* L, int index);

}  // namespace vexa
