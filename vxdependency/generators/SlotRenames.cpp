#include "vxdependency/generators/SlotRenames.h"

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

bool KeyOf(const std::string& path, std::string& key) {
    if (InterfaceBox::Instance().GetFileService().MakeRelative(path, key) && !key.empty())
        return true;
    LogWarning("%s: no reference can name it: not below the resource root", path.c_str());
    return false;
}

}  // namespace

SlotRenames::SlotRenames(const std::string& oldPath, const std::string& newPath)
    : m_pending(CDependencyManager::GetSingletonPtr()->GetPendingRenames()) {
    const bool valid = KeyOf(oldPath, m_oldKey) && (newPath.empty() || KeyOf(newPath, m_newKey));
    if (!valid) m_oldKey.clear();
}

const std::string* SlotRenames::NewNameOf(const std::string& oldKey) const {
    if (!m_oldKey.empty() && oldKey == m_oldKey) return &m_newKey;
    return m_pending.NewNameOf(oldKey);
}

const std::string* SlotRenames::OldNameOf(const std::string& newKey) const {
    if (!m_oldKey.empty() && !m_newKey.empty() && newKey == m_newKey) return &m_oldKey;
    return m_pending.OldNameOf(newKey);
}

}  // namespace vexa
