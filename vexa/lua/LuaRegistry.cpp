#include "vexa/lua/LuaRegistry.h"

namespace vexa {

namespace {

// The address is the key.
const void* KeyOf(LuaKept what) {
    static const char keys[5] = {};
    return &keys[static_cast<int>(what)];
}

}  // namespace

void PushIfThere(lua_State* L, LuaKept what) {
    lua_rawgetp(L, LUA_REGISTRYINDEX, KeyOf(what));
}

void PushKept(lua_State* L, LuaKept what, void (*make)(lua_State* L)) {
    PushIfThere(L, what);
    if (!lua_isnil(L, -1)) return;
    lua_pop(L, 1);
    make(L);
    lua_pushvalue(L, -1);
    lua_rawsetp(L, LUA_REGISTRYINDEX, KeyOf(what));
}

void PushClassName(lua_State* L, int index) {
    const int value = lua_absindex(L, index);
    PushIfThere(L, LuaKept::Classes);
    // By a string the table of that class would be found.
    const bool possible = lua_istable(L, -1) && lua_istable(L, value);
    possible ? lua_pushvalue(L, value) : lua_pushnil(L);
    if (possible) lua_rawget(L, -2);
    lua_remove(L, -2);
}

bool IsObjectValue(lua_State* L, int index) {
    if (lua_type(L, index) != LUA_TUSERDATA || !lua_getmetatable(L, index)) return false;
    PushClassName(L, -1);
    const bool known = lua_isstring(L, -1) != 0;
    lua_pop(L, 2);
    return known;
}

}  // namespace vexa
