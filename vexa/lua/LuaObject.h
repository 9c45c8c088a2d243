#pragma once

#include <atomic>

#include "vexa/Export.h"
#include "vexa/lua/RefCounted.h"

namespace vexa {

class ScriptObjectBase;

// The script side of a native object. Scripts hold on to it and not to the object, so it may live
// longer: it then knows that the object is gone. Any thread may call; that nobody uses the object
// while its owner destroys it is up to the owner.
class VX_API LuaObject final : public binding::RefCounted {
public:
    explicit LuaObject(ScriptObjectBase* native) : m_native(native) {}

    // The native object; null once it is destroyed.
    ScriptObjectBase* Native() const { return m_native; }

    // Hands the object over to the scripts: it is deleted when the last of them lets go of it.
    void GiveToScripts() { m_ownedByScripts = true; }

    // Called when a script's value begins and ends to refer to this.
    void Hold() { ++m_held; }
    void LetGo();

    // Called by the native object when it is destroyed.
    void Detach() { m_native = nullptr; }

private:
    std::atomic<ScriptObjectBase*> m_native;
    std::atomic<bool> m_ownedByScripts{false};
    std::atomic<int> m_held{0};  // by values of scripts
};

}  // namespace vexa
