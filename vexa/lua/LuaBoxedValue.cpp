// Script values that hold boxed texts and lists.

#include "vexa/lua/Guarded.h"
#include "vexa/lua/LuaBinding.h"
#include "vexa/lua/LuaHoldings.h"
#include "vexa/lua/LuaRegistry.h"

namespace vexa {

namespace {

using binding::Object;
using binding::Str;
using binding::Tuple;

bool IsBox(lua_State* L, int index) {
    if (lua_type(L, index) != LUA_TUSERDATA || !lua_getmetatable(L, index)) return false;
    PushIfThere(L, LuaKept::BoxType);
    const bool ours = lua_rawequal(L, -1, -2);
    lua_pop(L, 2);
    return ours;
}

// The value of a type at the index; raises an error when there is none.
template <class T>
const T& Check(lua_State* L, int index) {
    const T* const value = dynamic_cast<const T*>(vxlua_tobox(L, index));
    if (!value) luaL_typeerror(L, index, T::kTypeName);
    return *value;
}

void PushText(lua_State* L, const Str& text) {
    lua_pushlstring(L, text.Value().data(), text.Value().size());
}

void PushEntry(lua_State* L, const Tuple& tuple, std::size_t index) {
    // In one statement the entry would be copied first, and lost when there is no memory for a box.
    Holding& box = vxlua_newbox(L);
    box = tuple.At(index);
}

int Collect(lua_State* L) {
    if (IsBox(L, 1)) DropHolding(L, 1);
    return 0;
}

int ToString(lua_State* L) {
    const auto& value = Check<Object>(L, 1);
    Holding& text = vxlua_newbox(L);
    if (!Guarded("tostring", [&] { text = binding::MakeRef<Str>(value.Text()); })) {
        luaL_error(L, "not enough memory");
    }
    PushText(L, Check<Str>(L, -1));
    return 1;
}

int Length(lua_State* L) {
    lua_pushinteger(L, static_cast<lua_Integer>(Check<Object>(L, 1).Length()));
    return 1;
}

// Numbers name entries; anything else is looked up among the methods of the type, the upvalues.
int Index(lua_State* L) {
    const auto& value = Check<Object>(L, 1);
    const auto* const tuple = dynamic_cast<const Tuple*>(&value);
    if (tuple && lua_isinteger(L, 2)) {
        const auto index = static_cast<lua_Unsigned>(lua_tointeger(L, 2)) - 1;
        index < tuple->Length() ? PushEntry(L, *tuple, index) : lua_pushnil(L);
    } else {
        lua_settop(L, 2);
        lua_rawget(L, lua_upvalueindex(tuple ? 2 : 1));
    }
    return 1;
}

int Next(lua_State* L) {
    const auto& tuple = Check<Tuple>(L, 1);
    const lua_Unsigned index = static_cast<lua_Unsigned>(luaL_optinteger(L, 2, 0));
    if (index >= tuple.Length()) return 0;
    lua_pushinteger(L, static_cast<lua_Integer>(index + 1));
    PushEntry(L, tuple, index);
    return 2;
}

int Pairs(lua_State* L) {
    Check<Tuple>(L, 1);
    lua_pushcfunction(L, Next);
    lua_pushvalue(L, 1);
    lua_pushinteger(L, 0);
    return 3;
}

int Equal(lua_State* L) {
    const Object* const left = vxlua_tobox(L, 1);
    const Object* const right = vxlua_tobox(L, 2);
    const auto* const leftText = dynamic_cast<const Str*>(left);
    const auto* const rightText = dynamic_cast<const Str*>(right);
    const bool texts = leftText && rightText;
    lua_pushboolean(L, texts ? leftText->Value() == rightText->Value() : left == right);
    return 1;
}

// Puts plain texts in the place of boxed ones in arguments 1 and 2.
void Unbox(lua_State* L) {
    lua_settop(L, 2);
    for (const int index : {1, 2}) {
        if (const auto* const text = dynamic_cast<const Str*>(vxlua_tobox(L, index))) {
            PushText(L, *text);
            lua_replace(L, index);
        }
    }
}

int Concatenate(lua_State* L) {
    Unbox(L);
    if (IsBox(L, 1) || IsBox(L, 2)) luaL_error(L, "attempt to concatenate a Tuple");
    lua_concat(L, 2);
    return 1;
}

template <int Operation>
int Compare(lua_State* L) {
    Unbox(L);
    if (IsBox(L, 1) || IsBox(L, 2)) luaL_error(L, "attempt to compare a Tuple");
    lua_pushboolean(L, lua_compare(L, 1, 2, Operation));
    return 1;
}

int PlainText(lua_State* L) {
    PushText(L, Check<Str>(L, 1));
    return 1;
}

int PlainTable(lua_State* L) {
    const auto& tuple = Check<Tuple>(L, 1);
    lua_createtable(L, static_cast<int>(tuple.Length()), 0);
    for (std::size_t i = 0; i < tuple.Length(); ++i) {
        const auto* const text = dynamic_cast<const Str*>(tuple.At(i).Get());
        text ? PushText(L, *text) : PushEntry(L, tuple, i);
        lua_rawseti(L, -2, static_cast<lua_Integer>(i) + 1);
    }
    return 1;
}

void PushBoxType(lua_State* L) {
    static constexpr luaL_Reg functions[] = {{"__gc", Collect},
                                             {"__tostring", ToString},
                                             {"__len", Length},
                                             {"__pairs", Pairs},
                                             {"__eq", Equal},
                                             {"__concat", Concatenate},
                                             {"__lt", Compare<LUA_OPLT>},
                                             {"__le", Compare<LUA_OPLE>},
                                             {nullptr, nullptr}};
    static constexpr luaL_Reg textMethods[] = {{"text", PlainText}, {nullptr, nullptr}};
    static constexpr luaL_Reg tupleMethods[] = {{"totable", PlainTable}, {nullptr, nullptr}};
    luaL_newlib(L, functions);
    luaL_newlib(L, textMethods);
    luaL_newlib(L, tupleMethods);
    lua_pushcclosure(L, Index, 2);
    lua_setfield(L, -2, "__index");
    for (const char* const name : {"__name", "__metatable"}) {
        lua_pushstring(L, Object::kTypeName);
        lua_setfield(L, -2, name);
    }
}

}  // namespace

Holding& vxlua_newbox(lua_State* L) {
    Holding& holding = NewHolding(L);
    PushKept(L, LuaKept::BoxType, PushBoxType);
    lua_setmetatable(L, -2);
    return holding;
}

const Object* vxlua_tobox(lua_State* L, int index) {
    const Holding* const holding = IsBox(L, index) ? HoldingAt(L, index) : nullptr;
    return holding ? static_cast<const Object*>(holding->Get()) : nullptr;
}

}  // namespace vexa
