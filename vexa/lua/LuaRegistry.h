#pragma once

#include <lua.hpp>

namespace vexa {

// The tables that the binding library keeps in a state's registry.
enum class LuaTable {
    Modules,  // by name
    Classes,  // by name: its table; by its table: the name
    Objects,  // by the address of the LuaObject: the script's value, as long as the script keeps it
    BoxType,  // the metatable of boxed values
};

// Pushes the table. A new one is filled first by `fill`, which finds it at the top of the stack; it
// is kept only if that goes well.
void PushTable(lua_State* L, LuaTable table, void (*fill)(lua_State* L) = nullptr);
// Pushes the table, or nil when there is none yet. Raises no error.
void PushTableIfThere(lua_State* L, LuaTable table);

// Pushes the name of the class whose table is at the index, nil for any other value. Raises no
// error.
void PushClassName(lua_State* L, int index);
// Whether the value stands for an object of a declared class, even one that is gone. Raises no
// error.
bool IsObjectValue(lua_State* L, int index);

}  // namespace vexa
