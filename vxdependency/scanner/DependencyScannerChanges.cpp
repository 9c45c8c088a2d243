// The scanner's change loop: the store is kept in step with what happens on disk.

#include <thread>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/KnownFiles.h"
#include "vexa/common/Log.h"
#include "vexa/os/Clock.h"
#include "vexa/os/WindowsApi.h"
#include "vexa/threading/StepGate.h"
#include "vexa/threading/ThreadName.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/manager/ManagerMutex.h"
#include "vxdependency/scanner/AppliedChange.h"
#include "vxdependency/scanner/ChangeBatch.h"
#include "vxdependency/scanner/DependencyScanner.h"
#include "vxdependency/scanner/EntryLook.h"
#include "vxdependency/scanner/RescanPlan.h"
#include "vxdependency/scanner/StepRequests.h"
#include "vxdependency/scanner/TreeUpdate.h"
#include "vxdependency/store/GeneralDependency.h"

using vexa::CDependencyManager;
using vexa::Log;
using vexa::LogWarning;
using vexa::vxdependency::CatalogueEntry;
using vexa::vxdependency::GeneralDependency;

namespace {

constexpr std::chrono::milliseconds kInterval(500);

GeneralDependency& Store() {
    return *GeneralDependency::Instance();
}

std::string PathOf(const std::string& key) {
    return vexa::InterfaceBox::Instance().GetResourceRoot() + "/" + key;
}

// The files that the store knows at a key and below it.
std::vector<std::string> KnownFilesAt(const std::string& key) {
    std::vector<std::string> files;
    CatalogueEntry entry;
    if (Store().FindFile(key, entry)) files.push_back(key);
    Store().ForEachFile(key + "/", [&files](std::string_view file, const CatalogueEntry&) {
        files.emplace_back(file);
        return true;
    });
    return files;
}

// The tree with what is to be renamed still under its old names. A file that was saved just before
// what it refers to was moved is read so: else it would be found to refer to nothing, and its
// reference would not be rewritten.
vexa::KnownFiles TreeBefore(const ChangeBatch::List& oldNames) {
    std::vector<std::string> files;
    for (const std::string& name : oldNames)
        std::ranges::move(KnownFilesAt(name), std::back_inserter(files));
    vexa::KnownFiles tree(files.size(), vexa::KnownFiles::Answer::AskDisk);
    for (const std::string& file : files) tree.Add(file);
    return tree;
}

// A rename that was made through the manager, here or in another process, has told the store
// before its notification is read: nothing is known of the old name, and nothing refers to it. Nor
// is there anything to rename when a file was saved under a name of its own first, which nobody
// has met.
bool IsNothingToRename(const std::string& oldKey) {
    CDependencyManager::List users;
    Store().GetInverseDependency(oldKey, users);
    return users.empty() && KnownFilesAt(oldKey).empty();
}

// A program that saves by renaming the old file away has put the new one in its place by now. It is
// that one which is referred to.
bool IsInUseAgain(const std::string& oldKey) {
    return EntryLook(PathOf(oldKey)).Exists();
}

bool RenameInStore(const std::string& oldKey, const std::string& newKey) {
    CDependencyManager& manager = *CDependencyManager::GetSingletonPtr();
    const std::string target = PathOf(newKey);
    const bool folder = (GetFileAttributesA(target.c_str()) & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return folder ? manager.RenameFolder(PathOf(oldKey), target)
                  : manager.Rename(PathOf(oldKey), target, false);
}

std::uint32_t ReferencesOf(const std::string& key) {
    CatalogueEntry entry;
    return Store().FindFile(key, entry) ? entry.references : 0;
}

}  // namespace

// --- starting and stopping ---

bool DependencyScanner::ArmWatcher() {
    const std::lock_guard lock(m_armGuard);
    return m_watcher->Arm();
}

void DependencyScanner::Monitor() {
    if (m_monitoring.exchange(true)) return;
    if (!ArmWatcher()) {
        m_monitoring = false;
        return;
    }
    if (m_scansBegun > 0) m_rescan->Want("a scan had begun before changes were followed");
    std::thread thread(ThreadProc, this);
    m_changeThread = static_cast<std::uintptr_t>(thread.native_handle());
    thread.detach();
}

unsigned long DependencyScanner::ThreadProc(void* scanner) {
    vexa::SetThreadName("ChangeLoop");
    static_cast<DependencyScanner*>(scanner)->ThreadProcessChanges();
    return 0;
}

void DependencyScanner::ThreadProcessChanges() {
    while (true) {
        do {
            m_steps->Sleep(kInterval);
        } while (!m_watching);
        ProcessStep();
    }
}

void DependencyScanner::DoWatch(bool on) {
    m_watching = on;
    if (!on) m_watchStopped = true;
    std::function<void(bool)> callback;
    {
        const std::lock_guard lock(m_guard);
        callback = m_updateUi;
    }
    callback(!on);
}

FollowState DependencyScanner::GetFollowState() const {
    if (!m_monitoring) return FollowState::Idle;
    if (!m_watching) return FollowState::Paused;
    if (IsScanning()) return FollowState::Scanning;
    return m_rescanning ? FollowState::Rescanning : FollowState::Watching;
}

bool DependencyScanner::WaitUntilCaughtUp(std::chrono::milliseconds timeout) {
    const auto deadline = StepRequests::Clock::now() + timeout;
    return m_monitoring && m_watching && m_watcher->CatchUp(timeout) &&
           m_steps->AskAndWait(deadline);
}

// --- callbacks; none is called with a lock held ---

void DependencyScanner::RegisterUpdateDependencyUIFunction(std::function<void(bool)> callback) {
    const std::lock_guard lock(m_guard);
    m_updateUi = std::move(callback);
}

void DependencyScanner::RegisterChangeFunction(std::function<void(const AppliedChange&)> callback) {
    const std::lock_guard lock(m_guard);
    m_tellChange = std::move(callback);
}

void DependencyScanner::TellUi(bool busy) {
    std::function<void(bool)> callback;
    {
        const std::lock_guard lock(m_guard);
        callback = m_updateUi;
    }
    if (callback) callback(busy);
}

void DependencyScanner::TellChange(const AppliedChange& change) {
    std::function<void(const AppliedChange&)> callback;
    {
        const std::lock_guard lock(m_guard);
        callback = m_tellChange;
    }
    if (callback) callback(change);
}

// --- the step ---

void DependencyScanner::ProcessStep() {
    const std::uint64_t asked = m_steps->Begin();
    try {
        m_watcher->ReadChanges(m_pending);
        // Asked now: a scan that begins later meets all that was read.
        const bool scanning = IsScanning();
        NoteWhatMayBeMissed();
        if (!m_pending.empty()) TakePending(scanning);
        if (!scanning) {
            LookAgain();
            CompareIfDue();
        }
        const bool inStep = !scanning && !m_rescan->IsWanted() && !m_recheck->IsWanted();
        if (inStep) m_steps->Answer(asked);
    } catch (const std::exception& error) {
        WantRescan(std::string("changes could not be taken over: ") + error.what());
    }
    m_pending.clear();
    m_lastBeat = m_heartbeat->Beat();
}

void DependencyScanner::NoteWhatMayBeMissed() {
    const std::string loss = m_watcher->TakeLoss();
    if (!loss.empty()) WantRescan(loss);
    // Polling tells of what lasted from one walk of its own to the next; what was there only in
    // between may have been read all the same, by a scan or when the folder around it was.
    const bool polling =
        m_watcher->BackendInUse() == vexa::vxio::FileSystemWatcher::Backend::Polling;
    const int scans = m_scansEnded;
    const bool scanned = std::exchange(m_scansSeen, scans) != scans;
    if (polling && (scanned || !m_pending.empty())) m_recheck->Want("polling");
}

void DependencyScanner::TakePending(bool scanning) {
    if (m_watchStopped.exchange(false) || !m_watching) {
        // Nothing is followed, but the names are worth a look: what is there may be known as it is,
        // and what refers to it not have been read since it came.
        LookAgainAt(SortChanges(m_pending));
        m_rescan->Want("changes were dropped while watching was switched off");
        return;
    }
    ProcessChanges(m_pending);
    const ChangeBatch batch = SortChanges(m_pending);
    TakeBatch(batch);
    // The scan may yet store what it read, or did not find, before these changes.
    if (scanning) LookAgainAt(batch);
}

void DependencyScanner::LookAgainAt(const ChangeBatch& batch) {
    for (const auto* keys : {&batch.touched, &batch.oldNames, &batch.newNames, &batch.moved}) {
        m_lookAgain.insert(keys->begin(), keys->end());
    }
    m_lookAgain.erase("");
}

void DependencyScanner::ProcessChanges(std::vector<vexa::vxio::DirectoryChangeParam>& changes) {
    PairMoves(changes);
}

void DependencyScanner::TakeBatch(const ChangeBatch& batch) {
    {
        const vexa::KnownFiles before = TreeBefore(batch.oldNames);
        const vexa::KnownFiles::Use use(before);
        TreeUpdate update(*m_gate, batch.newNames);
        for (const std::string& key : batch.touched)
            update.Look(key, TreeUpdate::Below::Everything);
        TakeOver(update);
    }
    TakeRenames(batch);
}

void DependencyScanner::TakeRenames(const ChangeBatch& batch) {
    if (batch.oldNames.empty()) return;
    TellUi(true);
    std::set<std::string> renamed;
    for (std::size_t i = 0; i < batch.oldNames.size(); ++i) {
        if (TakeRename(batch.oldNames[i], batch.newNames[i])) renamed.insert(batch.newNames[i]);
    }
    // However that went, the names are to be known as what they are. A moved folder's files were
    // carried over; those that were not differ.
    TreeUpdate update(*m_gate);
    for (const std::string& key : batch.moved) update.Look(key, TreeUpdate::Below::WhatDiffers);
    TakeOver(update, renamed);
    TellUi(false);
}

bool DependencyScanner::TakeRename(const std::string& oldKey, const std::string& newKey) {
    if (oldKey.empty() || newKey.empty()) return false;
    const vexa::StepGate::Pass pass(*m_gate);
    {
        // A rename of the editor's that is under way is waited for.
        const std::lock_guard lock(vexa::ManagerMutex());
        if (IsNothingToRename(oldKey) || IsInUseAgain(oldKey)) return false;
        if (!RenameInStore(oldKey, newKey)) return false;
    }
    TellChange({AppliedChange::Kind::Moved, newKey, oldKey, ReferencesOf(newKey)});
    return true;
}

void DependencyScanner::LookAgain() {
    if (m_lookAgain.empty()) return;
    TreeUpdate update(*m_gate);
    for (const std::string& key : m_lookAgain) update.Look(key, TreeUpdate::Below::Everything);
    m_lookAgain.clear();
    TakeOver(update);
}

// `renamed` are files of which it has been told already that they changed.
void DependencyScanner::TakeOver(TreeUpdate& update, const std::set<std::string>& renamed) {
    const auto tell = [&](const AppliedChange& change) {
        if (renamed.count(change.path) == 0) TellChange(change);
    };
    const auto showProgress = [this](int percent) {
        if (m_rescanning) m_progress = percent;
    };
    if (update.Apply(tell, showProgress)) return;
    WantRescan("changes could not be stored: " + Store().GetWriteError());
}

// --- when changes may have been missed ---

void DependencyScanner::WantRescan(const std::string& reason) {
    LogWarning("The whole tree will be compared with the store: %s", reason.c_str());
    m_rescan->Want(reason);
}

void DependencyScanner::CompareIfDue() {
    const std::int64_t now = vexa::os::WallClockMs();
    const bool hurry = m_steps->AnyWaiting();
    if (m_rescan->IsWanted() && (hurry || m_rescan->IsDue(now))) Rescan();
    if (m_recheck->IsWanted() && (hurry || m_recheck->IsDue(now))) CompareTree(*m_recheck);
}

void DependencyScanner::Rescan() {
    m_rescanning = true;
    TellUi(true);
    m_progress = 0;
    CompareTree(*m_rescan);
    m_progress = 100;
    TellUi(false);
    m_rescanning = false;
}

void DependencyScanner::CompareTree(RescanPlan& plan) {
    Log(0, "The whole tree is compared with the store: %s", plan.Begin().c_str());
    TreeUpdate update(*m_gate);
    update.Look("", TreeUpdate::Below::WhatDiffers);
    TakeOver(update);
    plan.End(vexa::os::WallClockMs());
}
