#pragma once

namespace vexa {

// Base of the native classes that scripts can see; T answers the static ClsName.
template <class T>
class ScriptObject {
public:
    virtual ~ScriptObject() = default;

    static const char* LuaName() { return T::ClsName(); }
    virtual const char* GetClsName() const { return T::ClsName(); }
    virtual const char* GetLuaName() const { return T::LuaName(); }
};

}  // namespace vexa
