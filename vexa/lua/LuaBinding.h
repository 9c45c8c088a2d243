#pragma once

#include <string_view>

#include "vexa/Export.h"
#include "vexa/lua/BindingObject.h"
#include "vexa/lua/ScriptObject.h"

struct lua_State;

// The binding library: shows native classes to Lua 5.4 scripts.
//
// A state is used by one thread at a time, as Lua wants it. Unless stated, every operation may
// raise a Lua error (at least for want of memory), which leaves the calling function without
// running its destructors: call with nothing in the frame that owns something. None lets a C++
// exception through. An index counts as in Lua's own interface; operations need up to 6 free stack
// slots.
namespace vexa {

using vxlua_Function = int (*)(lua_State*);

// --- modules and classes ---
// Declared in this order: initmodule, beginmodule, per class cclass and its functions, endmodule.
// Declaring a module again in the same state keeps its classes and the objects of these.

// Makes the state ready for a module of this name, which must outlive the state.
VX_API void vxlua_initmodule(lua_State* L, const char* module);
// Opens the module, with three values on the stack; at the top the class that is open, none yet.
VX_API void vxlua_beginmodule(lua_State* L, const char* module);
// Opens a class of the module, in which it is found under `luaName`: its table, which is also the
// metatable of its objects, takes the top of the stack. Text as for initmodule.
VX_API void vxlua_cclass(lua_State* L, const char* name, const char* luaName);
// Adds a function to the class that is open.
VX_API void vxlua_function(lua_State* L, const char* name, vxlua_Function function);
// Closes the module, takes the three values off the stack, and lets `require` find the module.
VX_API void vxlua_endmodule(lua_State* L);

// --- meta functions for every class; each takes an object, the last three also a class ---

// Lets go of the object, which may delete it; to be called by the collector.
VX_API int vxlua_collectluaobject(lua_State* L);
// The same at a script's request. The script's value is of no use afterwards.
VX_API int vxlua_clearluaobject(lua_State* L);
// Results in "Name(0x...)" with the object's address, or "Name(released)".
VX_API int vxlua_luaobjecttostr(lua_State* L);
// Results in a list of the names of the class and its bases; scripts see no bases.
VX_API int vxlua_luaobjectmro(lua_State* L);
// Results in the class's name.
VX_API int vxlua_luaobjecttype(lua_State* L);
// Results in a table of what the class holds besides functions, by name.
VX_API int vxlua_classproperties(lua_State* L);

// --- objects ---

// Pushes the script's value for an object whose class is declared, the same each time as long as
// the script keeps it; nil for null. The object may be destroyed while scripts still refer to it.
VX_API void vxlua_pushluaobject(lua_State* L, ScriptObjectBase* object);
// Pushes a new object of a class, which the collector deletes when no script refers to it any more.
// `make` allocates it, and may throw: that is raised as a Lua error.
VX_API void vxlua_newluaobject(lua_State* L, const char* name, ScriptObjectBase* (*make)());
// Whether the value is an object of this class that still exists. Raises no error.
VX_API bool vxlua_isluaobject(lua_State* L, int index, const char* name);
// The object; null when the value is none, or the object is gone. Raises no error.
VX_API ScriptObjectBase* vxlua_toluaobject(lua_State* L, int index);

// --- boxed values ---
// For scripts: # is the length, == compares texts, < <= .. work on texts and strings, tuple[i]
// counts from 1, pairs and ipairs walk a tuple. string:text() is the plain text, tuple:totable() a
// table with plain texts.

// Pushes an empty box. The caller puts a binding::Object in before anything else may happen; that
// cannot fail, so a result is never lost. Valid while the value is on the stack.
VX_API binding::AutoRef<binding::RefCounted>& vxlua_newbox(lua_State* L);
// The value in a box; null when there is no box. Raises no error.
VX_API const binding::Object* vxlua_tobox(lua_State* L, int index);

// --- arguments ---

// Whether the value is a string or a boxed string, and holds no zero byte (paths must not). Numbers
// are none. Raises no error.
VX_API bool vxlua_isstring(lua_State* L, int index);
// The text of a value that vxlua_isstring accepts; valid while the value is on the stack. Raises no
// error.
VX_API std::string_view vxlua_tostring(lua_State* L, int index);
VX_API bool vxlua_isboolean(lua_State* L, int index);
// What messages call the type of a value. Raises no error.
VX_API const char* vxlua_typename(lua_State* L, int index);

// Whether the number of arguments is the needed one. If not, a quiet check returns false; any other
// raises "error invalid argument number %d, needed %d.".
VX_API bool vxlua_checkargs0(lua_State* L, int actual, bool quiet);
VX_API bool vxlua_checkargs1(lua_State* L, int actual, bool quiet);
VX_API bool vxlua_checkargs2(lua_State* L, int actual, bool quiet);
VX_API bool vxlua_checkargs3(lua_State* L, int actual, bool quiet);
VX_API bool vxlua_checkargs4(lua_State* L, int actual, bool quiet);
VX_API bool vxlua_checkargs5(lua_State* L, int actual, bool quiet);

}  // namespace vexa
