#pragma once

#include <lua.hpp>

namespace vexa {

// What the binding library keeps in a state's registry.
enum class LuaKept {
    Modules,   // table, by name
    Classes,   // table, by name: its table; by its table: the name
    Objects,   // table, by the address of the LuaObject: the script's value, as long as it lives
    BoxType,   // the metatable of boxed values
    Holdings,  // the owner of what values refer to
};

// Pushes what is kept. The first time it is made by `make`, which pushes it; it is kept only if
// that goes well.
void PushKept(lua_State* L, LuaKept what, void (*make)(lua_State* L));
// Pushes what is kept, or nil. Raises no error.
void PushIfThere(lua_State* L, LuaKept what);

inline void PushModules(lua_State* L) {
    PushKept(L, LuaKept::Modules, [](lua_State* state) { lua_newtable(state); });
}
inline void PushClasses(lua_State* L) {
    PushKept(L, LuaKept::Classes, [](lua_State* state) { lua_newtable(state); });
}

// Pushes the name of the class whose table is at the index, nil for any other value. Raises no
// error.
void PushClassName(lua_State* L, int index);
// Whether the value stands for an object of a declared class, even one that is gone. Raises no
// error.
bool IsObjectValue(lua_State* L, int index);

}  // namespace vexa
