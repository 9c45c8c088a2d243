// The manager's writing side: renaming.

#include <atomic>
#include <chrono>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/journal/ChangeJournal.h"
#include "vexa/os/WindowsApi.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/manager/ManagerMutex.h"
#include "vxdependency/rename/MoveErrors.h"
#include "vxdependency/rename/RenameOperation.h"
#include "vxdependency/rename/RenamePlan.h"
#include "vxdependency/scanner/DependencyScanner.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vexa {

using vxdependency::GeneralDependency;

namespace {

constexpr std::chrono::seconds kPatience{30};

GeneralDependency& Store() {
    return *GeneralDependency::Instance();
}

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

// The journal of the project, beside the store. Used under the manager's mutex.
ChangeJournal& Journal() {
    const std::string& root = InterfaceBox::Instance().GetProjectRoot();
    static auto* const journal = new ChangeJournal(root + "/temp/rename", root);
    return *journal;
}

std::atomic<std::uint64_t>& RenameCount() {
    static std::atomic<std::uint64_t> count{0};
    return count;
}

std::string TitleOf(const std::string& source, const std::string& destination) {
    return source + " -> " + destination;
}

std::string KeyOrPath(const std::string& path) {
    std::string key;
    return Files().MakeRelative(path, key) && !key.empty() ? key : path;
}

// Without its generators a rename would lose references.
std::string ConfigurationDefect(CDependencyManager& manager) {
    try {
        return manager.GetConfigurationError();
    } catch (const std::exception& error) {
        return error.what();
    }
}

void LogPlan(const RenamePlan& plan) {
    for (const std::string& problem : plan.problems) LogError("%s", problem.c_str());
    for (const RenamePlan::Loss& loss : plan.notRewritten) {
        LogWarning("%s: the reference to %s is lost by the rename to %s: %s", loss.file.c_str(),
                   loss.resource.c_str(), loss.expected.c_str(), loss.reason.c_str());
    }
}

}  // namespace

// Begins an operation, with what was announced for it; the rename itself comes before.
bool CDependencyManager::StartRename(RenameOperation& operation, const std::string& oldKey,
                                     const std::string& newKey) {
    RecoverRename();
    std::string error = ConfigurationDefect(*this);
    if (error.empty() && operation.Begin()) return true;
    if (error.empty()) error = operation.GetError();
    LogError("%s cannot be renamed to %s: %s", oldKey.c_str(), newKey.c_str(), error.c_str());
    return false;
}

bool CDependencyManager::FinishRename(RenameOperation& operation, const std::string& title) {
    operation.Plan({});
    LogPlan(operation.GetPlan());
    if (operation.Apply(title)) return true;
    LogError("%s: the rename was not done: %s", title.c_str(), operation.GetError().c_str());
    return false;
}

bool CDependencyManager::Rename(const std::string& source, const std::string& destination,
                                bool flag) {
    std::string oldKey;
    std::string newKey;
    if (!KeyOf(source, oldKey) || !KeyOf(destination, newKey)) return false;
    const std::lock_guard lock(ManagerMutex());
    if (RenameOperation* const running = RenameOperation::OfThisThread()) {
        running->Follow(oldKey, newKey, flag);
        return true;
    }
    const PendingRenames::Map announced = m_renames.ByOldName();
    m_renames.Clear();
    RenameOperation operation(*this, m_renames, m_rewritten, Journal());
    if (!StartRename(operation, oldKey, newKey)) return false;
    operation.Follow(oldKey, newKey, flag && announced.empty());
    operation.FollowAnnounced(announced);
    return FinishRename(operation, TitleOf(oldKey, newKey));
}

bool CDependencyManager::RenameFolder(const std::string& source, const std::string& destination) {
    std::string oldKey;
    std::string newKey;
    if (!KeyOf(source, oldKey) || !KeyOf(destination, newKey)) return false;
    const std::lock_guard lock(ManagerMutex());
    if (RenameOperation* const running = RenameOperation::OfThisThread()) {
        running->FollowFolder(oldKey, newKey);
        return true;
    }
    if (!Files().GetState(newKey).exists) return Remove(oldKey);
    const PendingRenames::Map announced = m_renames.ByOldName();
    m_renames.Clear();
    RenameOperation operation(*this, m_renames, m_rewritten, Journal());
    if (!StartRename(operation, oldKey, newKey)) return false;
    operation.FollowFolder(oldKey, newKey);
    operation.FollowAnnounced(announced);
    return FinishRename(operation, TitleOf(oldKey, newKey));
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the exported signature.
bool CDependencyManager::RawRename(std::string source, std::string destination) {
    std::string oldKey;
    std::string newKey;
    if (!KeyOf(source, oldKey) || !KeyOf(destination, newKey)) return false;
    if (oldKey == newKey) return true;
    const std::lock_guard lock(ManagerMutex());
    if (RenameOperation* const running = RenameOperation::OfThisThread())
        return running->MoveAndFollow(oldKey, newKey);
    if (!Files().GetState(oldKey).exists) return false;
    RenameOperation operation(*this, m_renames, m_rewritten, Journal());
    return StartRename(operation, oldKey, newKey) && operation.MoveAndFollow(oldKey, newKey) &&
           FinishRename(operation, TitleOf(oldKey, newKey));
}

bool CDependencyManager::SyncRename(std::string source, std::string destination) {
    return m_scanner && m_scanner->SyncRename(std::move(source), std::move(destination));
}

bool CDependencyManager::MoveAndRename(const std::string& source, const std::string& destination) {
    std::string oldKey;
    std::string newKey;
    if (!KeyOf(source, oldKey) || !KeyOf(destination, newKey)) return false;
    const std::lock_guard lock(ManagerMutex());
    const PendingRenames::Map announced = m_renames.ByOldName();
    m_renames.Clear();
    GetDependency(oldKey, false);  // it may have changed since it was read
    RenameOperation operation(*this, m_renames, m_rewritten, Journal());
    if (!StartRename(operation, oldKey, newKey)) return false;
    const std::string title = TitleOf(oldKey, newKey);
    const auto failed = [&](std::uint32_t error) {
        LogError("Move file from %s to %s  failed\uff1a 0x%x!", source.c_str(), destination.c_str(),
                 error);
        return false;
    };
    if (const std::uint32_t error = operation.Move(oldKey, newKey)) return failed(error);
    if (operation.MoveMeta(oldKey, newKey) != 0) {
        LogError("Move meta file from %s to %s  failed!", (source + ".vxmeta").c_str(),
                 (destination + ".vxmeta").c_str());
        if (!operation.ApplyMoves(title)) LogError("%s", operation.GetError().c_str());
        return false;
    }
    operation.FollowEntry(oldKey, newKey);
    operation.FollowAnnounced(announced);
    return FinishRename(operation, title) || failed(GetLastError());
}

bool CDependencyManager::MoveResource(const std::string& source, const std::string& destination,
                                      const RenameOptions& options, RenamePlan& plan) {
    const auto refuse = [&plan](std::string problem) {
        plan.problems.push_back(std::move(problem));
        return false;
    };
    std::string oldKey;
    std::string newKey;
    for (const auto& [path, key] : {std::pair{&source, &oldKey}, {&destination, &newKey}}) {
        if (!Files().MakeRelative(*path, *key) || key->empty())
            return refuse(*path + ": not below the resource root");
        if (path->find('\\') != std::string::npos)
            return refuse(*path + ": a name with a backslash cannot be a resource's");
    }
    const std::lock_guard lock(ManagerMutex());
    m_renames.Clear();
    RecoverRename();
    std::string defect = ConfigurationDefect(*this);
    if (!defect.empty()) return refuse(std::move(defect));
    RenameOperation operation(*this, m_renames, m_rewritten, Journal());
    if (!operation.Begin()) return refuse(operation.GetError());
    if (const std::uint32_t error = operation.Move(oldKey, newKey))
        return refuse(WhyNotMoved(oldKey, newKey, error));
    if (const std::uint32_t error = operation.MoveMeta(oldKey, newKey))
        operation.AddProblem(WhyNotMoved(oldKey + ".vxmeta", newKey + ".vxmeta", error));
    operation.FollowEntry(oldKey, newKey);
    operation.Plan(options);
    plan = std::move(operation.GetPlan());
    if (!plan.problems.empty() || options.dryRun) return plan.problems.empty();
    return operation.Apply(TitleOf(oldKey, newKey)) || refuse(operation.GetError());
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
    if (RenameOperation::OfThisThread()) m_rewritten.insert(key);
}

std::uint64_t CDependencyManager::CountRenames() {
    return RenameCount();
}

void CDependencyManager::NoteRename() {
    ++RenameCount();
}

void CDependencyManager::EmitRenamed(const FileRenamed& renamed) {
    m_renamed = renamed;
    Emit<FileRenamed>();
}

// --- taking back, and mending ---

bool CDependencyManager::UndoRename(const RenameOptions& options, UndoReport& report) {
    const std::lock_guard lock(ManagerMutex());
    RecoverRename();
    ChangeJournal& journal = Journal();
    const auto refuse = [&] {
        report.problems = journal.GetConflicts();
        if (report.problems.empty()) report.problems.push_back(journal.GetError());
        journal.Close();
        return false;
    };
    const bool possible = journal.BeginUndo(kPatience);
    const ChangeSet& changes = journal.GetChanges();
    report.title = changes.title;
    for (auto move = changes.moves.rbegin(); move != changes.moves.rend(); ++move)
        report.moves.push_back({KeyOrPath(move->to), KeyOrPath(move->from)});
    for (const FileEdit& edit : changes.edits) report.files.push_back(KeyOrPath(edit.target));
    if (!possible) return refuse();
    if (!options.dryRun) NoteRename();
    if (!options.dryRun && !(journal.Undo() && Resync(changes.notes) && journal.Finish()))
        return refuse();
    journal.Close();
    return true;
}

bool CDependencyManager::RecoverRename() {
    ChangeJournal& journal = Journal();
    if (!m_startError.empty() || !journal.WasInterrupted()) return false;
    const std::lock_guard lock(ManagerMutex());
    const bool recovered = journal.Recover();
    const std::string& title = journal.GetChanges().title;
    bool done = false;
    if (recovered) {
        LogWarning("The rename %s was interrupted; it was %s.", title.c_str(),
                   journal.IsApplied() ? "finished" : "taken back");
        for (const std::string& conflict : journal.GetConflicts()) LogError("%s", conflict.c_str());
        if (!journal.GetConflicts().empty())
            LogError("What these files were before is kept in temp/rename/unfinished.");
        done = Resync(journal.GetChanges().notes) && journal.Finish();
        if (!done) LogError("The store could not follow: %s", Store().GetWriteError().c_str());
    } else if (!journal.IsBusy() && journal.WasInterrupted()) {
        LogWarning("An interrupted rename is left as it is: %s", journal.GetError().c_str());
    }
    journal.Close();
    return done;
}

}  // namespace vexa
