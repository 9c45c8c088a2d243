// Declaring modules and classes.

#include "vexa/lua/LuaBinding.h"
#include "vexa/lua/LuaRegistry.h"

namespace vexa {

namespace {

// What an open module has on the stack.
constexpr int kName = -3;
constexpr int kModule = -2;
constexpr int kClass = -1;

// Replaces the class that is open by the one of this name, a new one if there is none yet.
void OpenClass(lua_State* L, const char* name) {
    lua_pop(L, 1);
    PushClasses(L);
    if (lua_getfield(L, -1, name) == LUA_TNIL) {
        lua_pop(L, 1);
        lua_newtable(L);
        lua_pushvalue(L, -1);
        lua_setfield(L, -2, "__index");
        lua_pushvalue(L, -1);
        lua_pushstring(L, name);
        lua_rawset(L, -4);
        lua_pushvalue(L, -1);
        lua_setfield(L, -3, name);
    }
    lua_remove(L, -2);
}

}  // namespace

void vxlua_initmodule(lua_State* L, const char* module) {
    PushModules(L);
    if (lua_getfield(L, -1, module) == LUA_TNIL) {
        lua_newtable(L);
        lua_setfield(L, -3, module);
    }
    lua_pop(L, 2);
}

void vxlua_beginmodule(lua_State* L, const char* module) {
    lua_pushstring(L, module);
    PushModules(L);
    lua_getfield(L, -1, module);
    lua_remove(L, -2);
    lua_pushnil(L);
}

void vxlua_cclass(lua_State* L, const char* name, const char* luaName) {
    OpenClass(L, name);
    lua_pushvalue(L, kClass);
    lua_setfield(L, kModule - 1, luaName);
}

void vxlua_function(lua_State* L, const char* name, vxlua_Function function) {
    lua_pushstring(L, name);
    lua_pushcfunction(L, function);
    lua_rawset(L, kClass - 2);
}

void vxlua_endmodule(lua_State* L) {
    luaL_getsubtable(L, LUA_REGISTRYINDEX, LUA_LOADED_TABLE);
    lua_pushvalue(L, kName - 1);
    lua_pushvalue(L, kModule - 2);
    lua_rawset(L, -3);
    lua_pop(L, 4);
}

}  // namespace vexa
