#include "vexa/io/WatchTree.h"

#include <algorithm>
#include <utility>

namespace vexa::vxio {

WatchedFolder& WatchTree::AddRoot(const std::string& directory) {
    m_roots.push_back(std::make_unique<WatchedFolder>());
    m_roots.back()->name = directory;
    m_roots.back()->isRoot = true;
    return *m_roots.back();
}

WatchedFolder* WatchTree::Find(int watch) const {
    const auto found = m_byWatch.find(watch);
    return found == m_byWatch.end() ? nullptr : found->second;
}

void WatchTree::SetWatch(WatchedFolder& folder, int watch) {
    if (folder.watch == watch) return;
    if (WatchedFolder* const other = Find(watch)) other->watch = -1;
    if (folder.watch != -1) {
        m_byWatch.erase(folder.watch);
        m_release(folder.watch);
    }
    folder.watch = watch;
    m_byWatch[watch] = &folder;
}

void WatchTree::ForgetWatch(WatchedFolder& folder) {
    m_byWatch.erase(folder.watch);
    folder.watch = -1;
}

WatchedFolder& WatchTree::Child(WatchedFolder& parent, const std::string& name) {
    std::unique_ptr<WatchedFolder>& child = parent.folders[name];
    if (!child) {
        child = std::make_unique<WatchedFolder>();
        child->name = name;
        child->parent = &parent;
    }
    return *child;
}

WatchedFolder* WatchTree::FindChild(const WatchedFolder& parent, const std::string& name) const {
    const auto found = parent.folders.find(name);
    return found == parent.folders.end() ? nullptr : found->second.get();
}

void WatchTree::Drop(WatchedFolder& parent, const std::string& name) {
    Drop(Detach(parent, name));
}

void WatchTree::DropOthers(WatchedFolder& parent, const std::set<std::string>& kept) {
    std::vector<std::string> others;
    for (const auto& [name, folder] : parent.folders) {
        if (kept.count(name) == 0) others.push_back(name);
    }
    for (const std::string& name : others) Drop(parent, name);
}

// Folder by folder: how deep they lie in one another is not up to us.
void WatchTree::Drop(std::unique_ptr<WatchedFolder> folder) {
    std::vector<std::unique_ptr<WatchedFolder>> dropped;
    if (folder) dropped.push_back(std::move(folder));
    while (!dropped.empty()) {
        const std::unique_ptr<WatchedFolder> one = std::move(dropped.back());
        dropped.pop_back();
        if (one->watch != -1) {
            m_byWatch.erase(one->watch);
            m_release(one->watch);
        }
        for (auto& [name, below] : one->folders) dropped.push_back(std::move(below));
    }
}

std::unique_ptr<WatchedFolder> WatchTree::Detach(WatchedFolder& parent, const std::string& name) {
    const auto found = parent.folders.find(name);
    if (found == parent.folders.end()) return nullptr;
    std::unique_ptr<WatchedFolder> folder = std::move(found->second);
    parent.folders.erase(found);
    folder->parent = nullptr;
    return folder;
}

WatchedFolder& WatchTree::Attach(WatchedFolder& parent, const std::string& name,
                                 std::unique_ptr<WatchedFolder> folder) {
    Drop(parent, name);
    folder->name = name;
    folder->parent = &parent;
    return *(parent.folders[name] = std::move(folder));
}

std::optional<WatchedPlace> WatchTree::PlaceOf(WatchedFolder& folder) {
    std::vector<const std::string*> names;
    WatchedFolder* top = &folder;
    for (; top->parent; top = top->parent) names.push_back(&top->name);
    if (!top->isRoot) {
        top->missedChanges = true;
        return std::nullopt;
    }
    WatchedPlace place{top->name, ""};
    for (auto name = names.rbegin(); name != names.rend(); ++name) place = place.Below(**name);
    return place;
}

}  // namespace vexa::vxio
