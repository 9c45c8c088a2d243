#pragma once

#include "vexa/Export.h"
#include "vexa/lua/AutoRef.h"
#include "vexa/lua/LuaObject.h"

namespace vexa {

// What a native class is called: in C++, and in scripts.
struct ScriptClass {
    const char* name;
    const char* luaName;
};

// What all native objects have in common that scripts can see. Not to be copied: scripts know the
// object by its identity.
class VX_API ScriptObjectBase {
public:
    ScriptObjectBase(const ScriptObjectBase&) = delete;
    ScriptObjectBase& operator=(const ScriptObjectBase&) = delete;
    virtual ~ScriptObjectBase();

    // The object's class; valid as long as the program runs.
    virtual const ScriptClass& GetClass() const = 0;
    virtual const char* GetClsName() const = 0;
    virtual const char* GetLuaName() const = 0;

    // The object's script side; never null.
    const binding::AutoRef<LuaObject>& GetLuaObject() const { return m_luaObject; }

protected:
    ScriptObjectBase();

private:
    binding::AutoRef<LuaObject> m_luaObject;
};

// Base of a native class T that scripts can see; T answers the static ClsName, and LuaName where
// scripts know it by another name.
template <class T>
class ScriptObject : public ScriptObjectBase {
public:
    static const char* LuaName() { return T::ClsName(); }
    static const ScriptClass& Class() {
        static const ScriptClass description{T::ClsName(), T::LuaName()};
        return description;
    }

    const ScriptClass& GetClass() const override { return Class(); }
    const char* GetClsName() const override { return T::ClsName(); }
    const char* GetLuaName() const override { return T::LuaName(); }
};

}  // namespace vexa
