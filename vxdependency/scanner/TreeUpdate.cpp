#include "vxdependency/scanner/TreeUpdate.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <mutex>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/KnownFiles.h"
#include "vexa/os/WindowsApi.h"
#include "vexa/threading/StepGate.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/manager/ManagerMutex.h"
#include "vxdependency/scanner/EntryLook.h"
#include "vxdependency/scanner/FolderWalk.h"
#include "vxdependency/store/GeneralDependency.h"

using vexa::CDependencyManager;
using vexa::StepGate;
using vexa::vxdependency::CatalogueEntry;
using vexa::vxdependency::GeneralDependency;
using vexa::vxdependency::StoreBatch;

namespace {

using Files = std::map<std::string, CatalogueEntry>;

GeneralDependency& Store() {
    return *GeneralDependency::Instance();
}

CDependencyManager& Manager() {
    return *CDependencyManager::GetSingletonPtr();
}

std::string PathOf(const std::string& key) {
    const std::string& root = vexa::InterfaceBox::Instance().GetResourceRoot();
    return key.empty() ? root : root + "/" + key;
}

std::string Below(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + "/" + name;
}

Files KnownBelow(const std::string& key) {
    Files known;
    Store().ForEachFile(key.empty() ? "" : key + "/",
                        [&known](std::string_view file, const CatalogueEntry& entry) {
                            known.emplace_hint(known.end(), file, entry);
                            return true;
                        });
    return known;
}

// Whether what refers to a link, or awaits it, has been read as the link is now: what it leads to
// can come and go without the link being another.
bool IsLinkInStep(const std::string& key) {
    if (vexa::InterfaceBox::Instance().GetFileService().FileExists(key)) {
        return Manager().FilesAffected({key}, {}).empty();
    }
    std::vector<std::string> users;
    Store().GetInverseDependency(key, users);
    return users.empty();
}

// Whether the store has read the file as it is. A stamp that was taken away says that it has not,
// though the file did not change.
bool IsUpToDate(const std::string& key, const ListedEntry& entry, const CatalogueEntry& known) {
    if (known.writeTimeNs != entry.writeTimeNs || known.size != entry.size) return false;
    if (entry.attributes & FILE_ATTRIBUTE_REPARSE_POINT && !IsLinkInStep(key)) return false;
    if (!Manager().HasDependencyGenerator(key)) return true;
    std::int64_t stamp = std::numeric_limits<std::int64_t>::min();
    Store().GetTimeStamp(PathOf(key), stamp);
    return stamp == WholeSeconds(entry.writeTimeNs);
}

void DropBelow(const std::string& folder, Files& files) {
    const std::string prefix = folder.empty() ? "" : folder + "/";
    const auto first = files.lower_bound(prefix);
    auto end = first;
    while (end != files.end() && end->first.starts_with(prefix)) ++end;
    files.erase(first, end);
}

// Calls `visit` for each folder of a walk with its key.
template <class Visit>
void ForEachFolder(const ListedFolder& top, const std::string& key, Visit visit) {
    std::vector<std::pair<const ListedFolder*, std::string>> waiting{{&top, key}};
    while (!waiting.empty()) {
        const auto [folder, folderKey] = std::move(waiting.back());
        waiting.pop_back();
        visit(*folder, folderKey);
        for (const auto& below : folder->folders) {
            const std::string name = below->path.substr(folder->path.size() + 1);
            waiting.emplace_back(below.get(), Below(folderKey, name));
        }
    }
}

}  // namespace

void TreeUpdate::Look(const std::string& key, Below below) {
    const StepGate::Pass pass(m_gate);
    const EntryLook look(PathOf(key));
    if (look.Exists() && (IsBelow(key, m_lookedAt) || m_lookedAt.count("") != 0)) return;
    if (look.IsDescended() || key.empty()) {
        if (below == Below::Everything) m_lookedAt.insert(key);
        if (!key.empty()) LookAtNothing(key);
        LookBelow(key, below);
        return;
    }
    for (const auto& [file, entry] : KnownBelow(key)) Gone(file);
    look.Exists() ? Read(key) : LookAtNothing(key);
}

// No file is at this key. It may be one that was there only shortly: then nothing is known of it,
// but that it is gone matters to whoever read it meanwhile.
void TreeUpdate::LookAtNothing(const std::string& key) {
    CatalogueEntry entry;
    if (Store().FindFile(key, entry) || !Manager().FilesAffected({}, {key}).empty()) Gone(key);
}

void TreeUpdate::LookBelow(const std::string& key, Below below) {
    Files known = KnownBelow(key);
    const auto tree = WalkFolder(PathOf(key), [] { return true; });
    ForEachFolder(*tree, key, [&](const ListedFolder& folder, const std::string& folderKey) {
        for (const ListedEntry& entry : folder.entries) {
            const std::string name(folder.NameOf(entry));
            if (name.find('\\') != std::string::npos) continue;
            const std::string file = ::Below(folderKey, name);
            const auto found = known.find(file);
            const bool differs = found == known.end() || !IsUpToDate(file, entry, found->second);
            if (below == Below::Everything || differs) Read(file);
            if (found != known.end()) known.erase(found);
        }
        // Nothing below it may be taken for gone.
        if (folder.error != 0) DropBelow(folderKey, known);
    });
    for (const auto& [file, entry] : known) Gone(file);
}

// Whether a folder above the key is among these.
bool TreeUpdate::IsBelow(const std::string& key, const std::unordered_set<std::string>& folders) {
    if (folders.empty()) return false;
    for (std::size_t end = key.rfind('/'); end != std::string::npos && end > 0;
         end = key.rfind('/', end - 1)) {
        if (folders.count(key.substr(0, end)) != 0) return true;
    }
    return false;
}

void TreeUpdate::Read(const std::string& key) {
    if (m_leftOut.count(key) != 0 || IsBelow(key, m_leftOut)) return;
    if (m_seen.insert(key).second) m_changed.push_back(key);
}

void TreeUpdate::Gone(const std::string& key) {
    const vexa::KnownFiles* const assumed = vexa::KnownFiles::OfThisThread();
    if (assumed && assumed->Find(key) == vexa::KnownFiles::Answer::Yes) return;
    if (m_seen.insert(key).second) m_gone.push_back(key);
}

bool TreeUpdate::Apply(const std::function<void(const AppliedChange&)>& applied,
                       const std::function<void(int)>& progress) {
    if (m_changed.empty() && m_gone.empty()) return true;
    std::vector<AppliedChange> changes = Removals();
    StoreBatch batch(&Store());
    bool done = Forget();
    const std::vector<std::string> affected = Affected();
    const std::size_t count = m_changed.size() + affected.size();
    for (std::size_t i = 0; i < count && done; ++i) {
        const StepGate::Pass pass(m_gate);
        progress(static_cast<int>(i * 100 / count));
        if (i < m_changed.size()) {
            changes.push_back(ReadNow(m_changed[i]));
        } else {
            Manager().Regenerate(affected[i - m_changed.size()], "");
        }
        done = Store().BatchCheckpoint();
    }
    if (!batch.End() || !done) return false;
    std::ranges::for_each(changes, applied);
    return true;
}

bool TreeUpdate::Forget() {
    const StepGate::Pass pass(m_gate);
    return Manager().Forget(m_gone);
}

std::vector<AppliedChange> TreeUpdate::Removals() const {
    std::vector<AppliedChange> removals;
    for (const std::string& key : m_gone) {
        CatalogueEntry entry;
        if (!Store().FindFile(key, entry)) continue;
        removals.push_back({AppliedChange::Kind::Removed, key, "", entry.references});
    }
    return removals;
}

// The files that the changed ones may matter to; they count as stale from now on.
std::vector<std::string> TreeUpdate::Affected() const {
    const StepGate::Pass pass(m_gate);
    // A link that leads to nothing is there, but is no file that a reference could name.
    vexa::IFileService& files = vexa::InterfaceBox::Instance().GetFileService();
    std::vector<std::string> hollow;
    std::ranges::copy_if(m_changed, std::back_inserter(hollow),
                         [&files](const std::string& key) { return !files.FileExists(key); });
    // A query that reads a file holds the mutex until what it found is stored.
    const std::lock_guard lock(vexa::ManagerMutex());
    Store().FlushOtherBatch();
    std::vector<std::string> affected = Manager().FilesAffected(m_changed, hollow);
    Manager().Invalidate(affected);
    return affected;
}

AppliedChange TreeUpdate::ReadNow(const std::string& key) const {
    CatalogueEntry before;
    // One that is just named by others is known as of no time.
    const bool known = Store().FindFile(key, before) && before != CatalogueEntry{};
    const auto kind = known ? AppliedChange::Kind::Modified : AppliedChange::Kind::Added;
    if (Manager().HasDependencyGenerator(key)) {
        const vexa::GenerationResult result = Manager().Regenerate(key, "");
        return {kind, key, "", static_cast<std::uint32_t>(result.dependencies.size())};
    }
    // No list is made of it, but that it is there, and since when, is known.
    const EntryLook look(PathOf(key));
    const CatalogueEntry now{look.State().writeTimeNs, look.State().size, 0, false};
    if (look.Exists() && now != before) Store().SetFile(key, now);
    return {kind, key, "", 0};
}
