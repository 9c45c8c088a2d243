#include "vxdependency/rename/PendingRenames.h"

namespace vexa {

namespace {

const std::string* Find(const PendingRenames::Map& names, const std::string& key) {
    const auto found = names.find(key);
    return found == names.end() ? nullptr : &found->second;
}

}  // namespace

bool PendingRenames::Add(const std::string& oldKey, const std::string& newKey) {
    if (oldKey == newKey || !m_newNames.emplace(oldKey, newKey).second) return false;
    m_oldNames.emplace(newKey, oldKey);
    return true;
}

void PendingRenames::Clear() {
    m_newNames.clear();
    m_oldNames.clear();
}

const std::string* PendingRenames::NewNameOf(const std::string& oldKey) const {
    return Find(m_newNames, oldKey);
}

const std::string* PendingRenames::OldNameOf(const std::string& newKey) const {
    return Find(m_oldNames, newKey);
}

}  // namespace vexa
