#include "vxdependency/binding/DependencyModule.h"

#include <lua.hpp>

#include "vexa/lua/LuaBinding.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

constexpr char kModule[] = "vexa.vxdependency";

void AddMetaFunctions(lua_State* L) {
    vxlua_function(L, "__gc", vxlua_collectluaobject);
    vxlua_function(L, "__clear", vxlua_clearluaobject);
    vxlua_function(L, "__tostring", vxlua_luaobjecttostr);
    vxlua_function(L, "mro", vxlua_luaobjectmro);
    vxlua_function(L, "type", vxlua_luaobjecttype);
    vxlua_function(L, "getProperties", vxlua_classproperties);
}

void AddClassFields(lua_State* L) {
    lua_pushstring(L, "__vxlua_class");
    lua_pushboolean(L, true);
    lua_rawset(L, -3);
    lua_pushstring(L, "class_name");
    lua_pushstring(L, CDependencyManager::ClsName());
    lua_rawset(L, -3);
    lua_pushstring(L, "lua_name");
    lua_pushstring(L, CDependencyManager::LuaName());
    lua_rawset(L, -3);
}

}  // namespace

int initdependency(lua_State* L) {
    vxlua_initmodule(L, kModule);
    vxlua_beginmodule(L, kModule);
    vxlua_cclass(L, CDependencyManager::ClsName(), CDependencyManager::LuaName());
    AddMetaFunctions(L);
    AddClassFields(L);
    CDependencyManager::InitializeLuaClass(L);
    vxlua_endmodule(L);
    return 0;
}

}  // namespace vexa
