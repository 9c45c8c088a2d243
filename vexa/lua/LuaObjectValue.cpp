// Script values that stand for native objects, and the meta functions of their classes.

#include <cstring>
#include <memory>

#include "vexa/lua/AddressText.h"
#include "vexa/lua/Guarded.h"
#include "vexa/lua/LuaBinding.h"
#include "vexa/lua/LuaHoldings.h"
#include "vexa/lua/LuaRegistry.h"

namespace vexa {

namespace {

// A script's value refers to an object by one of these.
class Hold final : public binding::RefCounted {
public:
    explicit Hold(binding::AutoRef<LuaObject> object) : m_object(std::move(object)) {
        m_object->Hold();
    }
    ~Hold() override { m_object->LetGo(); }

    LuaObject* Get() const { return m_object.Get(); }

private:
    binding::AutoRef<LuaObject> m_object;
};

// What the value at the index refers to; null when it is no object, or was let go.
LuaObject* ObjectAt(lua_State* L, int index) {
    const Holding* const holding = IsObjectValue(L, index) ? HoldingAt(L, index) : nullptr;
    return holding && *holding ? static_cast<const Hold&>(**holding).Get() : nullptr;
}

// Pushes a value of a class that refers to no object yet.
Holding& NewValue(lua_State* L, const char* name) {
    Holding& holding = NewHolding(L);
    PushClasses(L);
    if (lua_getfield(L, -1, name) != LUA_TTABLE) {
        luaL_error(L, "the class %s is not declared in this state", name);
    }
    lua_setmetatable(L, -3);
    lua_pop(L, 1);
    return holding;
}

// Pushes a value for an object.
void PushNewValue(lua_State* L, ScriptObjectBase* object) {
    Holding& holding = NewValue(L, object->GetClsName());
    if (!Guarded("script", [&] { holding = binding::MakeRef<Hold>(object->GetLuaObject()); })) {
        luaL_error(L, "not enough memory");
    }
}

void PushWeakTable(lua_State* L) {
    lua_newtable(L);
    lua_createtable(L, 0, 1);
    lua_pushliteral(L, "v");
    lua_setfield(L, -2, "__mode");
    lua_setmetatable(L, -2);
}

void CheckObject(lua_State* L) {
    if (IsObjectValue(L, 1)) return;
    luaL_error(L, "a script object is needed, not %s", vxlua_typename(L, 1));
}

// Pushes the table and the name of the class that argument 1 is, or is an object of.
void PushClassOfArgument(lua_State* L) {
    luaL_checkany(L, 1);
    if (!IsObjectValue(L, 1) || !lua_getmetatable(L, 1)) lua_pushvalue(L, 1);
    PushClassName(L, -1);
    if (!lua_isnil(L, -1)) return;
    luaL_error(L, "a script object or its class is needed, not %s", vxlua_typename(L, 1));
}

bool IsProperty(lua_State* L, int key, int value) {
    return lua_type(L, key) == LUA_TSTRING && !lua_isfunction(L, value) &&
           std::strncmp(lua_tostring(L, key), "__", 2) != 0;
}

}  // namespace

void vxlua_pushluaobject(lua_State* L, ScriptObjectBase* object) {
    if (!object) return lua_pushnil(L);
    LuaObject* const side = object->GetLuaObject().Get();
    PushKept(L, LuaKept::Objects, PushWeakTable);
    lua_rawgetp(L, -1, side);
    // A script may have let go of the value that it still has.
    if (ObjectAt(L, -1) != side) {
        lua_pop(L, 1);
        PushNewValue(L, object);
        lua_pushvalue(L, -1);
        lua_rawsetp(L, -3, side);
    }
    lua_remove(L, -2);
}

void vxlua_newluaobject(lua_State* L, const char* name, ScriptObjectBase* (*make)()) {
    // Owns the object while the value that scripts get is still to be made.
    Holding& owner = NewValue(L, name);
    ScriptObjectBase* object = nullptr;
    const bool made = Guarded(name, [&] {
        std::unique_ptr<ScriptObjectBase> guard(make());
        owner = binding::MakeRef<Hold>(guard->GetLuaObject());
        object = guard.release();
    });
    if (!made) luaL_error(L, "%s cannot be made; the log tells why", name);
    object->GetLuaObject()->GiveToScripts();
    vxlua_pushluaobject(L, object);
    lua_remove(L, -2);
}

ScriptObjectBase* vxlua_toluaobject(lua_State* L, int index) {
    const LuaObject* const object = ObjectAt(L, index);
    return object ? object->Native() : nullptr;
}

bool vxlua_isluaobject(lua_State* L, int index, const char* name) {
    const ScriptObjectBase* const object = vxlua_toluaobject(L, index);
    return object && std::strcmp(object->GetClsName(), name) == 0;
}

int vxlua_collectluaobject(lua_State* L) {
    CheckObject(L);
    DropHolding(L, 1);
    return 0;
}

int vxlua_clearluaobject(lua_State* L) {
    return vxlua_collectluaobject(L);
}

int vxlua_luaobjecttostr(lua_State* L) {
    CheckObject(L);
    if (const ScriptObjectBase* const object = vxlua_toluaobject(L, 1)) {
        lua_pushstring(L, AddressText(object->GetLuaName(), object).data());
    } else {
        PushClassOfArgument(L);
        lua_pushfstring(L, "%s(released)", lua_tostring(L, -1));
    }
    return 1;
}

int vxlua_luaobjectmro(lua_State* L) {
    PushClassOfArgument(L);
    lua_createtable(L, 1, 0);
    lua_insert(L, -2);
    lua_rawseti(L, -2, 1);
    return 1;
}

int vxlua_luaobjecttype(lua_State* L) {
    PushClassOfArgument(L);
    return 1;
}

int vxlua_classproperties(lua_State* L) {
    PushClassOfArgument(L);
    lua_pop(L, 1);
    lua_newtable(L);
    lua_pushnil(L);
    while (lua_next(L, -3)) {
        lua_pushvalue(L, -2);
        lua_insert(L, -2);
        IsProperty(L, -2, -1) ? lua_rawset(L, -4) : lua_pop(L, 2);
    }
    return 1;
}

}  // namespace vexa
