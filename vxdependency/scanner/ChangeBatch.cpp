#include "vxdependency/scanner/ChangeBatch.h"

#include <set>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/Path.h"

namespace ChangeAction = vexa::vxio::ChangeAction;
using vexa::vxio::DirectoryChangeParam;

namespace {

using Names = std::set<std::string>;

// "" for what is not below the resource root.
std::string KeyOf(const DirectoryChangeParam& change) {
    const std::string path = vexa::vxio::CombinePath(change.directory, change.name);
    return vexa::InterfaceBox::Instance().GetResourcePath(path);
}

// Takes out what lies at or below a name.
Names TakeBelow(Names& names, const std::string& folder) {
    Names taken;
    if (auto name = names.extract(folder)) taken.insert(std::move(name));
    const std::string prefix = folder + "/";
    for (auto name = names.lower_bound(prefix); name != names.end() && name->starts_with(prefix);) {
        const auto next = std::next(name);
        taken.insert(names.extract(name));
        name = next;
    }
    return taken;
}

// Follows names through one rename: what was told of the old ones holds of the new ones.
void Follow(Names& names, const std::string& from, const std::string& to, Names& followed) {
    for (const std::string& name : TakeBelow(names, from)) {
        followed.insert(to + name.substr(from.size()));
    }
}

// What came to lie at or below a name that something was renamed to waits until it has been.
void TakeTouchedBelowNewNames(const ChangeBatch& batch, Names& touched, Names& moved) {
    for (const std::string& name : batch.newNames) moved.merge(TakeBelow(touched, name));
}

}  // namespace

ChangeBatch SortChanges(const std::vector<DirectoryChangeParam>& changes) {
    ChangeBatch batch;
    Names touched;
    Names moved;
    for (const DirectoryChangeParam& change : changes) {
        std::string key = KeyOf(change);
        if (change.action == ChangeAction::OldName) {
            batch.oldNames.push_back(std::move(key));
        } else if (change.action != ChangeAction::NewName) {
            touched.insert(std::move(key));
        } else if (batch.newNames.size() < batch.oldNames.size()) {
            batch.newNames.push_back(key);
            const std::string& from = batch.oldNames[batch.newNames.size() - 1];
            Names followed;
            Follow(touched, from, key, followed);
            Follow(moved, from, key, followed);
            moved.merge(followed);
            moved.insert({from, key});
        } else {
            touched.insert(std::move(key));
        }
    }
    touched.insert(batch.oldNames.begin() + static_cast<std::ptrdiff_t>(batch.newNames.size()),
                   batch.oldNames.end());
    touched.erase("");
    moved.erase("");
    batch.oldNames.resize(batch.newNames.size());
    TakeTouchedBelowNewNames(batch, touched, moved);
    batch.touched.assign(touched.begin(), touched.end());
    batch.moved.assign(moved.begin(), moved.end());
    return batch;
}

void PairMoves(std::vector<DirectoryChangeParam>& changes) {
    for (std::size_t i = 0; i + 1 < changes.size(); ++i) {
        DirectoryChangeParam& removed = changes[i];
        DirectoryChangeParam& added = changes[i + 1];
        if (removed.action != ChangeAction::Removed || added.action != ChangeAction::Added)
            continue;
        const std::string name = vexa::vxio::GetFileName(removed.name);
        if (name.empty() || name != vexa::vxio::GetFileName(added.name)) continue;
        removed.action = ChangeAction::OldName;
        added.action = ChangeAction::NewName;
        ++i;
    }
}
