// What a plain Lua interpreter loads; a program that embeds Lua calls initdependency itself.

#include <lua.hpp>

#include "vxdependency/binding/DependencyModule.h"

extern "C" VX_API int luaopen_vexa_vxdependency(lua_State* L);

int luaopen_vexa_vxdependency(lua_State* L) {
    luaL_checkversion(L);
    vexa::initdependency(L);
    lua_settop(L, 0);
    luaL_getsubtable(L, LUA_REGISTRYINDEX, LUA_LOADED_TABLE);
    lua_getfield(L, -1, "vexa.vxdependency");
    return 1;
}
