#pragma once

#include "vexa/Export.h"

struct lua_State;

namespace vexa {

// Makes the module "vexa.vxdependency" ready for `require` in a Lua state of an embedding program;
// docs/lua.md tells what scripts find in it. May be called once more for the same state. It is a
// Lua function without arguments and results. Raises a Lua error when there is not enough memory:
// call it through lua_pcall, or where such an error may pass.
VX_API int initdependency(lua_State* L);

}  // namespace vexa
