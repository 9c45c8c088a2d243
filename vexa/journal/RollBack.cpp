#include "vexa/journal/RollBack.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <set>
#include <system_error>
#include <unordered_map>
#include <unordered_set>

#include "vexa/io/Path.h"
#include "vexa/os/FileAccess.h"
#include "vexa/os/WindowsApi.h"

namespace vexa {

namespace {

using Lines = std::vector<std::string>;

std::string Reason() {
    return std::generic_category().message(errno);
}

enum class Contents { New, Other, Unreadable };

// Whether the contents at `path` are those that the edit put there, under whatever number: version
// control may have written them again.
Contents ContentsAt(const std::string& path, const FileEdit& edit) {
    const os::FileIdentity identity = os::IdentityOf(path);
    if (identity == edit.after) return Contents::New;
    if (identity.size != edit.after.size) return Contents::Other;
    const os::FileContents contents = os::ReadWholeFile(path);
    if (!contents.bytes) return Contents::Unreadable;
    const bool same = HashOfBytes({contents.bytes.get(), contents.size}) == edit.hash;
    return same ? Contents::New : Contents::Other;
}

// Adds a line when they are not; true when they are.
bool RequireNewContents(const std::string& path, const FileEdit& edit, RollBackReport& report) {
    const Contents contents = ContentsAt(path, edit);
    if (contents == Contents::Other) report.conflicts.push_back(path + ": has changed since");
    if (contents == Contents::Unreadable)
        report.failures.push_back(path + ": cannot be read: " + Reason());
    return contents == Contents::New;
}

using EditsByNumber = std::unordered_map<std::uint64_t, const FileEdit*>;

// Names alone do not tell whether a move was made: in a chain of moves the same ones come again. A
// file that was edited first was moved under the number of its new contents.
bool WasMade(const PathMove& move, const EditsByNumber& edits) {
    const std::uint64_t number = os::IdentityOf(move.to).number;
    const auto edit = edits.find(move.number);
    return number != 0 &&
           (number == move.number ||
            (edit != edits.end() && ContentsAt(move.to, *edit->second) == Contents::New));
}

void TakeBackMove(const PathMove& move, const EditsByNumber& edits, RollBackReport& report) {
    if (!WasMade(move, edits)) return;
    if (os::EntryExists(move.from)) {
        report.conflicts.push_back(move.from + ": is in the way of what comes back");
    } else if (!MoveFileA(move.to.c_str(), move.from.c_str())) {
        report.failures.push_back(move.to + ": cannot be moved back: " + Reason());
    }
}

// A file that was made goes, unless somebody has changed it.
void TakeBackNewFile(const FileEdit& edit, RollBackReport& report) {
    if (!os::EntryExists(edit.target)) return;
    if (RequireNewContents(edit.target, edit, report) && !os::Remove(edit.target)) {
        report.failures.push_back(edit.target + ": cannot be removed: " + Reason());
    }
}

void TakeBackEdit(const FileEdit& edit, const std::string& folder, RollBackReport& report) {
    if (edit.kept.empty()) return TakeBackNewFile(edit, report);
    const std::string kept = folder + "/" + edit.kept;
    const os::FileIdentity old = os::IdentityOf(kept);
    if (old.number == 0) return;  // it came back already, or never left
    const os::FileIdentity now = os::IdentityOf(edit.target);
    if (now.number == old.number || now == edit.before) return;  // not replaced yet
    if (now.number != 0 && !RequireNewContents(edit.target, edit, report)) return;
    if (!os::PutInPlace(kept, edit.target))
        report.failures.push_back(edit.target + ": cannot be put back: " + Reason());
}

}  // namespace

RollBackReport RollBackChanges(const ChangeSet& changes, const std::string& folder) {
    RollBackReport report;
    EditsByNumber edits;
    for (const FileEdit& edit : changes.edits) edits[edit.before.number] = &edit;
    for (auto move = changes.moves.rbegin(); move != changes.moves.rend(); ++move)
        TakeBackMove(*move, edits, report);
    for (auto edit = changes.edits.rbegin(); edit != changes.edits.rend(); ++edit)
        TakeBackEdit(*edit, folder, report);
    return report;
}

Lines FindConflicts(const ChangeSet& changes) {
    RollBackReport report;
    for (const FileEdit& edit : changes.edits) {
        const std::string now = changes.NameAfterMoves(edit.target);
        if (os::EntryExists(now)) {
            RequireNewContents(now, edit, report);
        } else {
            report.conflicts.push_back(now + ": is gone");
        }
    }
    Lines conflicts = std::move(report.conflicts);
    std::ranges::move(report.failures, std::back_inserter(conflicts));
    for (const std::string& folder : FoldersOf(changes, true)) {
        if (!os::CanChangeFolder(folder) && errno != ENOENT && errno != ENOTDIR)
            conflicts.push_back(folder + ": cannot be changed: " + Reason());
    }
    std::unordered_set<std::string> ends;
    for (std::size_t i = 0; i < changes.moves.size(); ++i)
        ends.insert(changes.NameAfterMoves(changes.moves[i].to, i + 1));
    for (const std::string& end : ends) {
        if (!os::EntryExists(end)) conflicts.push_back(end + ": is gone");
    }
    for (const PathMove& move : changes.moves) {
        if (!ends.contains(move.from) && os::EntryExists(move.from))
            conflicts.push_back(move.from + ": is in the way of what comes back");
    }
    return conflicts;
}

Lines FoldersOf(const ChangeSet& changes, bool afterMoves) {
    std::set<std::string> folders;
    const auto add = [&](const std::string& entry, std::size_t movesBefore) {
        const std::string folder = vxio::GetDirName(entry);
        folders.insert(afterMoves ? changes.NameAfterMoves(folder, movesBefore) : folder);
    };
    for (const FileEdit& edit : changes.edits) add(edit.target, 0);
    for (std::size_t i = 0; i < changes.moves.size(); ++i) {
        add(changes.moves[i].from, i);
        add(changes.moves[i].to, i);
    }
    return {folders.begin(), folders.end()};
}

}  // namespace vexa
