#include "vexa/journal/ChangeJournal.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>

#include "vexa/io/Path.h"
#include "vexa/journal/RollBack.h"
#include "vexa/os/AtomicFile.h"
#include "vexa/os/FileAccess.h"
#include "vexa/os/WindowsApi.h"
#include "vexa/threading/EachInParallel.h"

namespace vexa {

namespace {

namespace fs = std::filesystem;

// Up to here, syncing file by file is quicker than the whole file system at once.
constexpr std::size_t kFewFiles = 8;

constexpr const char* kList = "/changes";
constexpr const char* kTrash = "/trash";

std::string ErrnoText() {
    return std::generic_category().message(errno);
}

bool MakeFolders(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) errno = error.value();
    return !error;
}

void RemoveTree(const std::string& path) {
    std::error_code ignored;  // what stays is removed before the next plan, or is told then
    fs::remove_all(path, ignored);
}

// Removes a folder of changes such that a crash leaves none in part: it first loses its name.
void ThrowAway(const std::string& folder, const std::string& trash) {
    RemoveTree(trash);
    if (MoveFileA(folder.c_str(), trash.c_str())) RemoveTree(trash);
}

// Why the old contents of a file cannot be kept; "" when they are.
std::string KeepOne(const FileEdit& edit, const std::string& plan) {
    if (os::IdentityOf(edit.target) != edit.before)
        return edit.target + ": was changed by another program meanwhile";
    if (edit.kept.empty() || os::KeepContents(edit.target, plan + "/" + edit.kept)) return "";
    return edit.target + ": its contents cannot be kept: " + ErrnoText();
}

// A folder's number in the history; 0 for another one.
unsigned NumberOf(const std::string& name) {
    const bool digits = !name.empty() && name.find_first_not_of("0123456789") == std::string::npos;
    return digits && name.size() < 9 ? static_cast<unsigned>(std::stoul(name)) : 0;
}

}  // namespace

ChangeJournal::ChangeJournal(std::string directory, std::string base)
    : m_directory(std::move(directory)), m_base(std::move(base)) {}

std::string ChangeJournal::PathOf(Folder folder) const {
    static constexpr const char* kNames[] = {"plan", "pending", "applied", "undone"};
    return m_directory + "/" + kNames[static_cast<std::size_t>(folder)];
}

std::string ChangeJournal::StagingFolder() const {
    return PathOf(Folder::Plan) + "/new";
}

bool ChangeJournal::Fail(const std::string& what) {
    m_error = what;
    return false;
}

bool ChangeJournal::TakeLock(std::chrono::milliseconds patience) {
    m_error.clear();
    m_conflicts.clear();
    m_busy = false;
    if (m_locked) return true;
    if (!MakeFolders(m_directory)) return Fail(m_directory + ": cannot be made: " + ErrnoText());
    if (const std::error_code error = m_lock.Open(m_directory + "/lock", false))
        return Fail(m_directory + "/lock: " + error.message());
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const std::error_code error = m_lock.LockUntil(LockRegion::Writer, deadline);
    if (!error) {
        m_lock.SignAsHolder();
        m_locked = true;
        return true;
    }
    m_busy = error == std::errc::timed_out;
    Fail(m_busy ? m_directory + ": in use by " + m_lock.Holder()
                : m_directory + "/lock: " + error.message());
    m_lock.Close();
    return false;
}

void ChangeJournal::Close() {
    if (m_locked) {
        RemoveTree(PathOf(Folder::Plan));
        m_lock.Unlock(LockRegion::Writer);
    }
    m_locked = false;
    m_lock.Close();
}

bool ChangeJournal::Begin(std::chrono::milliseconds patience) {
    if (!TakeLock(patience)) return false;
    if (WasInterrupted())
        return Fail(m_directory + ": an interrupted rename is to be mended first");
    RemoveTree(PathOf(Folder::Plan));
    RemoveTree(m_directory + kTrash);
    m_changes = {};
    m_applied = false;
    if (MakePlan()) return true;
    return Fail(PathOf(Folder::Plan) + ": cannot be made: " + ErrnoText());
}

// ext4 without a journal looks for a place for each new file past all that were deleted beside it
// within the last minutes: after a build or a checkout that takes longer than all the rest. So the
// staged files are to lie apart from all others. Where, the name decides under which their folder
// is made: one that no earlier plan had, whose files may be such.
bool ChangeJournal::MakePlan() {
    const std::string plan = PathOf(Folder::Plan);
    if (!MakeFolders(plan + "/old")) return false;
    os::SpreadFolders(plan);
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    const std::string staging = fmt::format("{}/{:x}", plan, now);
    return os::MakeFolder(staging) && MoveFileA(staging.c_str(), StagingFolder().c_str());
}

// Renames a folder of changes, durably: the step that counts.
bool ChangeJournal::Enter(const std::string& from, Folder to) {
    errno = 0;
    const std::string target = PathOf(to);
    const bool renamed = MoveFileA(from.c_str(), target.c_str());
    if (renamed && os::SyncFolder(m_directory)) return true;
    Fail(fmt::format("{}: cannot be renamed to {}: {}", from, target, ErrnoText()));
    if (renamed) MoveFileA(target.c_str(), from.c_str());
    return false;
}

// Gives the old contents of all files their second names.
bool ChangeJournal::Keep() {
    const std::string plan = PathOf(Folder::Plan);
    std::set<std::string> folders;  // of the staged files; those of the kept ones are called alike
    for (FileEdit& edit : m_changes.edits) {
        folders.insert(plan + "/old/" + vxio::GetDirName(edit.staged));
        if (edit.before.number != 0) edit.kept = "old/" + edit.staged;
        edit.staged.insert(0, "new/");
    }
    for (const std::string& folder : folders) {
        if (!os::MakeFolder(folder)) return Fail(folder + ": cannot be made: " + ErrnoText());
    }
    std::mutex guard;
    bool kept = true;
    const auto keep = [&](std::size_t i) {
        const std::string failure = KeepOne(m_changes.edits[i], plan);
        const std::lock_guard lock(guard);
        if (!failure.empty() && kept) kept = Fail(failure);
    };
    const auto goOn = [&](std::size_t) {
        const std::lock_guard lock(guard);
        return kept;
    };
    return EachInParallel(
        m_changes.edits.size(), [&] { return keep; }, goOn);
}

// Gets everything that is needed onto the disk.
bool ChangeJournal::Prepare() {
    if (!Keep()) return false;
    const std::string plan = PathOf(Folder::Plan);
    const std::string list = plan + kList;
    if (!os::WriteNewFile(list, WriteChangeSet(m_changes, m_base), ""))
        return Fail(list + ": cannot be written: " + ErrnoText());
    bool synced = true;
    if (m_changes.edits.size() > kFewFiles) {
        synced = os::SyncFileSystem(plan);
    } else {
        for (const FileEdit& edit : m_changes.edits)
            synced = synced && os::SyncFile(plan + "/" + edit.staged);
        for (const char* name : {kList, "/new", "/old", ""})
            synced = synced && os::SyncFile(plan + name);
    }
    return synced || Fail(plan + ": cannot be synced: " + ErrnoText());
}

bool ChangeJournal::Perform() {
    const std::string folder = PathOf(Folder::Pending);
    for (const FileEdit& edit : m_changes.edits) {
        // Somebody's save between the reading and now must not be lost.
        if (os::IdentityOf(edit.target) != edit.before)
            return Fail(edit.target + ": was changed by another program meanwhile");
        if (!os::PutInPlace(folder + "/" + edit.staged, edit.target))
            return Fail(edit.target + ": cannot be replaced: " + ErrnoText());
    }
    for (const PathMove& move : m_changes.moves) {
        if (!MoveFileA(move.from.c_str(), move.to.c_str()))
            return Fail(
                fmt::format("{}: cannot be moved to {}: {}", move.from, move.to, ErrnoText()));
    }
    return SyncTouched(FoldersOf(m_changes, true)) ||
           Fail(m_directory + ": the changes cannot be synced: " + ErrnoText());
}

bool ChangeJournal::SyncTouched(const std::vector<std::string>& folders) const {
    const bool many = folders.size() > kFewFiles;
    if (many && !os::SyncFileSystem(folders.front())) return false;
    return std::ranges::all_of(folders, [&](const std::string& folder) {
        if (many && os::SameFileSystem(folder, folders.front())) return true;
        // In a chain of moves a folder may have been just a name on the way.
        return os::SyncFolder(folder) || errno == ENOENT || errno == ENOTDIR;
    });
}

bool ChangeJournal::Apply(ChangeSet changes) {
    m_changes = std::move(changes);
    if (!Prepare() || !Enter(PathOf(Folder::Plan), Folder::Pending)) return false;
    if (Perform() && Enter(PathOf(Folder::Pending), Folder::Applied)) {
        m_applied = true;
        return true;
    }
    const std::string reason = m_error;
    RollBackPending();
    m_error = reason;
    return false;
}

bool ChangeJournal::RollBackPending() {
    const std::string pending = PathOf(Folder::Pending);
    m_applied = false;
    RollBackReport report = RollBackChanges(m_changes, pending);
    // What failed may have been in use for a moment.
    if (!report.failures.empty()) report = RollBackChanges(m_changes, pending);
    m_conflicts = std::move(report.conflicts);
    if (!report.failures.empty()) return Fail(report.failures.front());
    return (SyncTouched(FoldersOf(m_changes, false)) || Fail(pending + ": " + ErrnoText())) &&
           Enter(pending, Folder::Undone);
}

bool ChangeJournal::RollBack() {
    return Enter(PathOf(Folder::Applied), Folder::Pending) && RollBackPending();
}

bool ChangeJournal::Finish() {
    std::vector<std::string> history = History();
    const unsigned last = history.empty() ? 0 : NumberOf(history.back());
    const std::string number = fmt::format("{:06}", last + 1);
    const auto leave = [&](Folder folder, const std::string& name) {
        const std::string target = m_directory + "/" + name;
        return MoveFileA(PathOf(folder).c_str(), target.c_str()) ||
               Fail(PathOf(folder) + ": cannot be renamed to " + target + ": " + ErrnoText());
    };
    if (m_applied) {
        if (!leave(Folder::Applied, number)) return false;
        for (std::size_t i = 0; i + kHistory <= history.size(); ++i)
            ThrowAway(m_directory + "/" + history[i], m_directory + kTrash);
    } else if (!m_conflicts.empty()) {
        // What could not be put back is kept for a person.
        RemoveTree(m_directory + "/unfinished");
        return leave(Folder::Undone, "unfinished");
    } else {
        ThrowAway(PathOf(Folder::Undone), m_directory + kTrash);
    }
    return true;
}

bool ChangeJournal::WasInterrupted() const {
    return os::EntryExists(PathOf(Folder::Pending)) || os::EntryExists(PathOf(Folder::Applied)) ||
           os::EntryExists(PathOf(Folder::Undone));
}

bool ChangeJournal::Load(const std::string& folder) {
    const os::FileContents list = os::ReadWholeFile(folder + kList);
    if (list.bytes && ReadChangeSet({list.bytes.get(), list.size}, m_base, m_changes)) return true;
    return Fail(folder + kList + ": is missing or damaged");
}

bool ChangeJournal::Recover() {
    if (!TakeLock(std::chrono::milliseconds(0)) || !WasInterrupted()) return false;
    m_applied = os::EntryExists(PathOf(Folder::Applied));
    if (os::EntryExists(PathOf(Folder::Pending)))
        return Load(PathOf(Folder::Pending)) && RollBackPending();
    return Load(PathOf(m_applied ? Folder::Applied : Folder::Undone));
}

std::vector<std::string> ChangeJournal::History() const {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(m_directory, error)) {
        std::string name = entry.path().filename().string();
        if (NumberOf(name) != 0) names.push_back(std::move(name));
    }
    std::ranges::sort(names, {}, NumberOf);
    return names;
}

bool ChangeJournal::BeginUndo(std::chrono::milliseconds patience) {
    if (!TakeLock(patience)) return false;
    const std::vector<std::string> history = History();
    if (history.empty()) return Fail("there is no rename to take back");
    m_last = m_directory + "/" + history.back();
    if (!Load(m_last)) return false;
    m_conflicts = FindConflicts(m_changes);
    return m_conflicts.empty() || Fail("files have changed since");
}

bool ChangeJournal::Undo() {
    for (const FileEdit& edit : m_changes.edits) {
        if (!edit.kept.empty() && !os::Touch(m_last + "/" + edit.kept))
            return Fail(m_last + "/" + edit.kept + ": " + ErrnoText());
    }
    // Since then a file may have been saved anew, under another number.
    for (std::size_t i = 0; i < m_changes.moves.size(); ++i) {
        PathMove& move = m_changes.moves[i];
        move.number = os::IdentityOf(m_changes.NameAfterMoves(move.to, i + 1)).number;
    }
    return os::SaveFile(m_last + kList, WriteChangeSet(m_changes, m_base), m_error) &&
           Enter(m_last, Folder::Pending) && RollBackPending();
}

}  // namespace vexa
