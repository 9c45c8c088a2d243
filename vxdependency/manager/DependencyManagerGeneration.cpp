// The manager's reading side: generating a file's list, and answering from the store.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <queue>
#include <unordered_set>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/KeyText.h"
#include "vexa/common/KnownFiles.h"
#include "vexa/common/Log.h"
#include "vexa/common/ReadFailures.h"
#include "vexa/io/PathText.h"
#include "vexa/os/FindFiles.h"
#include "vexa/os/WindowsApi.h"
#include "vxdependency/generators/BindingStem.h"
#include "vxdependency/generators/DependencyBase.h"
#include "vxdependency/generators/DependencyJSON.h"
#include "vxdependency/generators/DependencyXML.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/manager/FindingsObserver.h"
#include "vxdependency/manager/ManagerMutex.h"
#include "vxdependency/rename/RenameOperation.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vexa {

using vxdependency::CatalogueEntry;
using vxdependency::GeneralDependency;

namespace {

GeneralDependency& Store() {
    return *GeneralDependency::Instance();
}

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

FileLook LookAt(const std::string& path) {
    FileLook look;
    os::FindEntry(path, look.seconds, look.state);
    return look;
}

// The config-driven families say themselves what is wrong with a file; the others are silent.
bool IsSilent(const CDependencyBase& generator) {
    return dynamic_cast<const CDependencyXML*>(&generator) == nullptr &&
           dynamic_cast<const CDependencyJSON*>(&generator) == nullptr;
}

// Files below it are missing from an answer.
void WarnUnlisted(const std::string& directory) {
    LogWarning("%s: the folder cannot be read: %s", directory.c_str(), std::strerror(errno));
}

void WarnUnreadable(const std::string& key) {
    LogWarning("%s: cannot be read%s", key.c_str(),
               Files().FileExists(key) ? "" : ": there is no such file");
}

// Whether a walk comes by, which does not go through links and write-protected folders.
bool IsWalked(const std::string& key) {
    for (std::size_t slash = key.find('/'); slash != std::string::npos;
         slash = key.find('/', slash + 1)) {
        const std::string folder = Files().AbsolutePath(key.substr(0, slash));
        if (!os::IsDescended(GetFileAttributesA(folder.c_str()), "")) return false;
    }
    return true;
}

// Lets the work of other threads that concerns a file, seen like this, reach the store.
bool FlushOthers(const std::string& key, const FileLook& look) {
    if (!look.state.exists) return Store().FlushOtherBatch();
    return Store().FlushOtherBatch(key, {look.state.writeTimeNs, look.state.size, 0, false});
}

bool HoldsSeparator(const std::string& text) {
    return text.find('#') != std::string::npos;
}

std::string StoredForm(const std::string& entry) {
    std::string stored;
    if (!Files().KeyOfReference(entry, stored)) stored = entry;
    std::ranges::replace(stored, '\\', '/');
    return stored;
}

// Most entries are keys, and stored as such. What begins with a drive only looks like one.
bool IsStoredForm(const std::string& entry) {
    return IsPlainKey(entry) && vxio::AnchorLength(entry) == 0;
}

// What of a list is not in the other, in its order.
CDependencyManager::List Without(const CDependencyManager::List& list,
                                 const CDependencyManager::List& other) {
    const std::unordered_set<std::string_view> leftOut(other.begin(), other.end());
    CDependencyManager::List rest;
    std::ranges::copy_if(list, std::back_inserter(rest),
                         [&](const std::string& entry) { return !leftOut.contains(entry); });
    return rest;
}

// Appends to a list what it does not hold yet.
class UniqueList {
public:
    void Add(std::string entry) {
        if (m_seen.insert(entry).second) m_list.push_back(std::move(entry));
    }
    bool Holds(const std::string& entry) const { return m_seen.count(entry) != 0; }
    const CDependencyManager::List& Get() const { return m_list; }

private:
    CDependencyManager::List m_list;
    std::unordered_set<std::string> m_seen;
};

}  // namespace

bool CDependencyManager::KeyOf(const std::string& path, std::string& key) {
    if (path.size() <= MAX_PATH && Files().MakeRelative(path, key) && !key.empty() &&
        InterfaceBox::Instance().GetResourceRoot().size() + 1 + key.size() <= MAX_PATH)
        return true;
    Log(0, "%s: not a path below the resource root, or longer than %d characters", path.c_str(),
        MAX_PATH);
    return false;
}

// Finds a list of a file that has not changed since it was read; false for one that has.
bool CDependencyManager::FindCurrent(const std::string& key, bool inverse, List& list) {
    const std::string absolute = Files().AbsolutePath(key);
    const FileLook look = LookAt(absolute);
    // Within one second the stamp cannot tell two writes apart; the catalogue can.
    const auto isCurrent = [&look](const GeneralDependency::FileRecord& record) {
        if (record.stamp != look.seconds) return false;
        const auto& entry = record.entry;
        return !look.state.exists || (entry && entry->writeTimeNs == look.state.writeTimeNs &&
                                      entry->size == look.state.size);
    };
    return Store().GetDependencyIf(key, absolute, inverse, isCurrent, list);
}

// Appends the entries of a list as they are stored: as keys where they name something below the
// resource root, without what a "#"-separated list cannot hold.
void CDependencyManager::AppendStoredForm(const std::string& key, List& entries, List& out) {
    out.reserve(out.size() + entries.size());
    for (std::string& entry : entries) {
        if (!IsStoredForm(entry)) entry = StoredForm(entry);
        if (HoldsSeparator(entry)) {
            LogWarning("%s: the reference to %s is left out: a name with \"#\" cannot be kept",
                       key.c_str(), entry.c_str());
        } else if (!entry.empty()) {
            out.push_back(std::move(entry));
        }
    }
}

std::unique_ptr<FileReading> CDependencyManager::ReadReferences(const std::string& key) {
    CDependencyBase* const generator = GetDependencyGenerator(key);
    if (!generator) return nullptr;
    List dependencies;
    List secondList;
    auto reading = std::make_unique<FileReading>();
    FindingsObserver observer(key);
    const std::uint64_t failures = ReadFailuresOfThisThread();
    {
        const ObserverUse use(&observer);
        reading->readable =
            generator->GenerateDependency(GeneratorForm(key), dependencies, secondList);
    }
    reading->findings = observer.Take();
    reading->preliminary = ReadFailuresOfThisThread() != failures;
    if (!reading->readable && IsSilent(*generator)) WarnUnreadable(key);
    AppendStoredForm(key, dependencies, reading->list);
    AppendStoredForm(key, secondList, reading->list);
    MakeVectorUnique(reading->list);
    if (HoldsSeparator(key) && !reading->list.empty()) {
        LogWarning("%s: its references are left out: a name with \"#\" cannot be kept",
                   key.c_str());
        reading->list.clear();
    }
    return reading;
}

void CDependencyManager::StoreList(const std::string& key, const std::string& oldKey, bool renamed,
                                   const List& list) {
    List old;
    Store().GetDependency(oldKey, old);
    for (const std::string& entry : renamed ? old : Without(old, list)) {
        Store().EraseInverseEntry(entry, oldKey);
    }
    if (!list.empty()) Store().SetDependency(key, list, GeneralDependency::kBoth);
    NoteTargets(Without(list, old));
}

// The catalogue has to know every file that a list names, or nobody who compares it with the tree
// would notice when one goes. What it has not met yet is entered as of no time, which the next
// comparison mends; a scan enters all files by itself.
void CDependencyManager::NoteTargets(const List& targets) {
    const KnownFiles* const known = KnownFiles::OfThisThread();
    if (known && known->IsComplete()) return;
    for (const std::string& target : targets) {
        CatalogueEntry entry;
        const bool isNew = !Store().FindFile(target, entry) && Files().FileExists(target);
        if (isNew && IsWalked(target)) Store().SetFile(target, {});
    }
}

void CDependencyManager::StoreState(const std::string& key, const FileLook& look,
                                    const GenerationResult& result) {
    Store().SetTimeStamp(Files().AbsolutePath(key), look.seconds);
    // A file that is gone stays in the catalogue until it is forgotten: by that the next scan knows
    // that those which refer to it are to be read again.
    if (!look.state.exists) return;
    Store().SetFile(key, {look.state.writeTimeNs, look.state.size,
                          static_cast<std::uint32_t>(result.dependencies.size()), result.failed});
}

bool CDependencyManager::IsStored(const std::string& key, const FileLook& look,
                                  const FileReading& reading) {
    const CatalogueEntry seen{look.state.writeTimeNs, look.state.size,
                              static_cast<std::uint32_t>(reading.list.size()), !reading.readable};
    CatalogueEntry entry;
    List list;
    vxdependency::Findings findings;
    if (reading.preliminary || !Store().FindFile(key, entry) || entry != seen) return false;
    Store().GetFindings(key, findings);
    return Store().GetDependency(key, list) && list == reading.list && findings == reading.findings;
}

GenerationResult CDependencyManager::Regenerate(const std::string& file, const std::string& second,
                                                const FileLook* look,
                                                std::unique_ptr<FileReading> reading) {
    GenerationResult result;
    std::string key;
    std::string oldKey;
    if (!KeyOf(file, key)) return result;
    if (second.empty()) {
        oldKey = key;
    } else if (!KeyOf(second, oldKey)) {
        return result;
    }
    if (!HasDependencyGenerator(key)) return result;

    const std::lock_guard lock(ManagerMutex());
    // The look before reading is what is kept: a file written meanwhile is then read again.
    const FileLook before = look ? *look : LookAt(Files().AbsolutePath(key));
    // What another thread's batch still holds in memory must not be overtaken.
    second.empty() ? FlushOthers(key, before) : Store().FlushOtherBatch();
    // One transaction for the list, the inverse lists and the stamp, unless a scan's is open.
    const vxdependency::StoreBatch batch(&Store());
    if (!reading) reading = ReadReferences(key);
    if (!reading) return result;  // what is in the file tells the generator, and it changed
    result.generated = true;
    result.failed = !reading->readable;
    result.preliminary = reading->preliminary;
    result.dependencies = std::move(reading->list);
    StoreList(key, oldKey, !second.empty(), result.dependencies);
    StoreState(key, before, result);
    // Without a stamp it counts as stale, and is read again though it does not change.
    if (reading->preliminary) Invalidate({key});
    Store().SetFindings(key, reading->findings);
    return result;
}

CDependencyManager::List CDependencyManager::GenerateDependency(const std::string& file,
                                                                const std::string& second) {
    std::string key;
    if (!KeyOf(file, key)) return {};
    const std::lock_guard lock(ManagerMutex());
    FlushOthers(key, LookAt(Files().AbsolutePath(key)));
    const List affected = FilesAffected({key}, {});
    vxdependency::StoreBatch batch(&Store());
    Invalidate(affected);
    GenerationResult result = Regenerate(key, second);
    batch.End();
    for (const std::string& other : affected) Regenerate(other, "");
    return std::move(result.dependencies);
}

// A file that no generator reads is known as well.
void CDependencyManager::NoteFile(const std::string& key, const FileLook& look,
                                  std::unique_ptr<FileReading> reading) {
    if (HasDependencyGenerator(key)) {
        Regenerate(key, "", look.state.exists ? &look : nullptr, std::move(reading));
    } else if (look.state.exists) {
        Store().SetFile(key, {look.state.writeTimeNs, look.state.size, 0, false});
    }
}

bool CDependencyManager::Resync(const List& keys) {
    const std::lock_guard lock(ManagerMutex());
    List changed;
    List vanished;
    for (const std::string& key : keys) {
        (Files().GetState(key).exists ? changed : vanished).push_back(key);
    }
    Store().FlushOtherBatch();
    const List affected = FilesAffected(changed, vanished);
    vxdependency::StoreBatch batch(&Store());
    Invalidate(affected);
    Invalidate(changed);
    for (const std::string& key : changed) {
        NoteFile(key, LookAt(Files().AbsolutePath(key)), nullptr);
        if (!Store().BatchCheckpoint()) return false;
    }
    if (!Forget(vanished)) return false;
    for (const std::string& key : affected) {
        Regenerate(key, "");
        if (!Store().BatchCheckpoint()) return false;
    }
    return batch.End();
}

bool CDependencyManager::Explain(const std::string& file, IReferenceObserver& observer) {
    std::string key;
    if (!KeyOf(file, key)) return false;
    CDependencyBase* const generator = GetDependencyGenerator(key);
    if (!generator) return false;
    const ObserverUse use(&observer);
    List dependencies;
    List secondList;
    return generator->GenerateDependency(GeneratorForm(key), dependencies, secondList);
}

// One step is enough: a file that is read through others awaits what those miss, too.
CDependencyManager::List CDependencyManager::FilesAffected(const List& changed,
                                                           const List& vanished) {
    List awaited;
    for (const List* keys : {&changed, &vanished}) {
        for (const std::string& key : *keys) {
            awaited.push_back(key);
            if (IsImage(key)) awaited.push_back(ImageFamily(key));
        }
    }
    if (awaited.empty()) return {};
    List found;
    Store().FindAwaiting(awaited, found);
    for (const std::string& key : vanished) Store().GetInverseDependency(key, found);
    std::unordered_set<std::string> given(changed.begin(), changed.end());
    given.insert(vanished.begin(), vanished.end());
    UniqueList files;
    for (std::string& file : found) {
        if (given.count(file) == 0) files.Add(std::move(file));
    }
    return files.Get();
}

void CDependencyManager::Invalidate(const List& keys) {
    for (const std::string& key : keys) Store().EraseTimeStamp(Files().AbsolutePath(key));
}

CDependencyManager::List CDependencyManager::GetDependency(const std::string& file, bool inverse) {
    List list;
    std::string key;
    if (!KeyOf(file, key)) return list;
    // While a rename is planned the store still knows the old names, and nothing is read anew.
    if (const RenameOperation* const planned = RenameOperation::OfThisThread())
        return planned->Recorded(key, inverse);
    if (FindCurrent(key, inverse, list)) return list;
    {
        const std::lock_guard lock(ManagerMutex());
        FlushOthers(key, LookAt(Files().AbsolutePath(key)));
        if (FindCurrent(key, inverse, list)) return list;
        GenerateDependency(key, "");
    }
    if (inverse) {
        Store().GetInverseDependency(key, list);
    } else {
        Store().GetDependency(key, list);
    }
    return list;
}

void CDependencyManager::GetAllDependency(const std::string& path, List& existing, List& missing) {
    std::string start;
    if (!KeyOf(path, start)) return;
    std::unordered_set<std::string> visited{start};
    std::queue<std::string> work;
    work.push(start);
    while (!work.empty()) {
        const List list = GetDependency(work.front(), false);
        work.pop();
        for (const std::string& entry : list) {
            if (!visited.insert(entry).second) continue;
            if (Files().FileExists(entry)) {
                existing.push_back(entry);
                work.push(entry);
            } else {
                missing.push_back(entry);
            }
        }
    }
}

CDependencyManager::List CDependencyManager::GetFolderDependency(const std::string& folder,
                                                                 bool inverse) {
    UniqueList all;
    const std::string directory = Files().AbsolutePath(folder);
    if (!PathIsDirectoryA(directory.c_str())) return all.Get();
    List files;
    GetAllFilesRecursively(directory, files);
    for (const std::string& file : files) {
        for (std::string& entry : GetDependency(file, inverse)) all.Add(std::move(entry));
    }
    return all.Get();
}

void CDependencyManager::GetAllFilesRecursively(const std::string& folder, List& out) {
    std::vector<std::string> folders{Files().AbsolutePath(folder)};
    while (!folders.empty()) {
        const std::string directory = std::move(folders.back());
        folders.pop_back();
        _finddata64i32_t data;
        const std::intptr_t handle = _findfirst64i32((directory + "/*.*").c_str(), &data);
        if (handle == -1) {
            WarnUnlisted(directory);
            continue;
        }
        do {
            const std::string name = data.name;
            if (name == "." || name == "..") continue;
            std::vector<std::string>& list =
                data.attrib == FILE_ATTRIBUTE_DIRECTORY ? folders : out;
            list.emplace_back(directory).append("/").append(name);
        } while (_findnext64i32(handle, &data) == 0);
        if (errno != ENOENT) WarnUnlisted(directory);
        _findclose(handle);
    }
}

std::set<std::string> CDependencyManager::GetAllRoots() {
    return {InterfaceBox::Instance().GetResourceRoot()};
}

void CDependencyManager::BindingFiles(const std::string& path, bool isExplicit, List& out) {
    std::string key;
    if (!KeyOf(path, key)) return;
    CDependencyBase* const generator = GetDependencyGenerator(key);
    if (!generator) return;
    const std::string file = GeneratorForm(key);
    const List suffixes = isExplicit ? generator->GetExplicitBindingFiles(file)
                                     : generator->GetImplicitBindingFiles(file);
    const std::string stem = BindingStem(*generator, key);
    for (const std::string& suffix : suffixes) {
        std::string bound = stem + suffix;
        if (Files().FileExists(bound)) {
            out.push_back(std::move(bound));
        } else {
            ReportAbsent(bound);
        }
    }
}

void CDependencyManager::GetExplicitBindingFiles(const std::string& path, List& out) {
    BindingFiles(path, true, out);
}

void CDependencyManager::GetImplicitBindingFiles(const std::string& path, List& out) {
    BindingFiles(path, false, out);
}

void CDependencyManager::RemoveFile(const std::string& key) {
    List list;
    Store().GetDependency(key, list);
    for (const std::string& entry : list) Store().EraseInverseEntry(entry, key);
    Store().EraseForward(key);
    Store().EraseTimeStamp(Files().AbsolutePath(key));
    Store().EraseFile(key);
    Store().SetFindings(key, {});
}

bool CDependencyManager::Forget(const List& keys) {
    if (keys.empty()) return true;
    vxdependency::StoreBatch batch(&Store());
    List affected;
    {
        // A query that has read one of them just before it went stores that first.
        const std::lock_guard lock(ManagerMutex());
        Store().FlushOtherBatch();
        affected = FilesAffected({}, keys);
        AddSharing(keys, affected);
        Invalidate(affected);
    }
    for (const std::string& key : keys) {
        const std::lock_guard lock(ManagerMutex());
        Store().FlushOtherBatch();
        RemoveFile(key);
        if (!Store().BatchCheckpoint()) return false;
    }
    for (const std::string& file : affected) {
        Regenerate(file, "");
        if (!Store().BatchCheckpoint()) return false;
    }
    return batch.End();
}

bool CDependencyManager::Remove(const std::string& path) {
    std::string key;
    if (!KeyOf(path, key)) return false;
    List keys{key};
    Store().ForEachFile(key + "/", [&keys](std::string_view file, const CatalogueEntry&) {
        keys.emplace_back(file);
        return true;
    });
    return Forget(keys);
}

}  // namespace vexa
