#include "vexa/lua/LuaObject.h"

#include "vexa/lua/ScriptObject.h"

namespace vexa {

void LuaObject::LetGo() {
    if (--m_held == 0 && m_ownedByScripts) delete Native();
}

ScriptObjectBase::ScriptObjectBase() : m_luaObject(binding::MakeRef<LuaObject>(this)) {}

ScriptObjectBase::~ScriptObjectBase() {
    m_luaObject->Detach();
}

}  // namespace vexa
