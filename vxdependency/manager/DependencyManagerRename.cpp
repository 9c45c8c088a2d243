// The manager's writing side: renaming.

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/manager/ManagerMutex.h"

namespace vexa {

bool CDependencyManager::Rename(const std::string& source, const std::string& destination, bool) {
    LogError("%s: cannot be renamed to %s: not available yet", source.c_str(), destination.c_str());
    return false;
}

bool CDependencyManager::RawRename(std::string source, std::string destination) {
    return InterfaceBox::Instance().GetFileService().Move(source, destination) == 0;
}

bool CDependencyManager::SyncRename(std::string source, std::string destination) {
    return Rename(source, destination, false);
}

bool CDependencyManager::RenameFolder(const std::string& source, const std::string& destination) {
    return Rename(source, destination, false);
}

bool CDependencyManager::RemoveList(const List& paths) {
    bool removed = true;
    for (const std::string& path : paths) removed &= Remove(path);
    return removed;
}

void CDependencyManager::SetReadyToChange(
    const std::unordered_map<std::string, std::string>& renames) {
    const std::lock_guard lock(ManagerMutex());
    for (const auto& [source, destination] : renames) {
        std::string oldKey;
        std::string newKey;
        if (KeyOf(source, oldKey) && KeyOf(destination, newKey)) m_renames.Add(oldKey, newKey);
    }
}

void CDependencyManager::MarkRewritten(const std::string& key) {
    m_rewritten.insert(key);
}

}  // namespace vexa
