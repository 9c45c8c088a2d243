#include "vexa/lua/LuaObject.h"

#include "vexa/lua/ScriptObject.h"

namespace vexa {

void LuaObject::Hold() {
    AddRef();
    ++m_held;
}

void LuaObject::LetGo() {
    if (--m_held == 0 && m_ownedByScripts) delete Native();
    Release();
}

void LuaObject::Release() {
    if (--m_references == 0) delete this;
}

ScriptObjectBase::ScriptObjectBase() : m_luaObject(binding::MakeRef<LuaObject>(this)) {}

ScriptObjectBase::~ScriptObjectBase() {
    m_luaObject->Detach();
}

}  // namespace vexa
