// Checking what a script hands over.

#include "vexa/lua/LuaBinding.h"
#include "vexa/lua/LuaRegistry.h"

namespace vexa {

namespace {

bool IsText(lua_State* L, int index) {
    return lua_type(L, index) == LUA_TSTRING ||
           dynamic_cast<const binding::Str*>(vxlua_tobox(L, index));
}

bool CheckArguments(lua_State* L, int actual, int needed, bool quiet) {
    if (actual == needed) return true;
    if (!quiet) luaL_error(L, "error invalid argument number %d, needed %d.", actual, needed);
    return false;
}

}  // namespace

std::string_view vxlua_tostring(lua_State* L, int index) {
    if (const auto* const boxed = dynamic_cast<const binding::Str*>(vxlua_tobox(L, index))) {
        return boxed->Value();
    }
    std::size_t size = 0;
    const char* const text = lua_tolstring(L, index, &size);
    return {text, size};
}

bool vxlua_isstring(lua_State* L, int index) {
    return IsText(L, index) && vxlua_tostring(L, index).find('\0') == std::string_view::npos;
}

bool vxlua_isboolean(lua_State* L, int index) {
    return lua_isboolean(L, index);
}

const char* vxlua_typename(lua_State* L, int index) {
    if (IsText(L, index) && !vxlua_isstring(L, index)) return "string with a zero byte";
    if (const binding::Object* const boxed = vxlua_tobox(L, index)) return boxed->TypeName();
    if (!IsObjectValue(L, index)) return luaL_typename(L, index);
    const ScriptObjectBase* const object = vxlua_toluaobject(L, index);
    return object ? object->GetClsName() : "released object";
}

bool vxlua_checkargs0(lua_State* L, int actual, bool quiet) {
    return CheckArguments(L, actual, 0, quiet);
}

bool vxlua_checkargs1(lua_State* L, int actual, bool quiet) {
    return CheckArguments(L, actual, 1, quiet);
}

bool vxlua_checkargs2(lua_State* L, int actual, bool quiet) {
    return CheckArguments(L, actual, 2, quiet);
}

bool vxlua_checkargs3(lua_State* L, int actual, bool quiet) {
    return CheckArguments(L, actual, 3, quiet);
}

bool vxlua_checkargs4(lua_State* L, int actual, bool quiet) {
    return CheckArguments(L, actual, 4, quiet);
}

bool vxlua_checkargs5(lua_State* L, int actual, bool quiet) {
    return CheckArguments(L, actual, 5, quiet);
}

}  // namespace vexa
