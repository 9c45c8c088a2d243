#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "vexa/db/LockFile.h"
#include "vexa/journal/ChangeSet.h"

namespace vexa {

// Makes a set of changes of files as one step, which neither a failure nor a crash leaves half
// done, and remembers the last ones, so that they can be taken back.
//
// Everything is kept in one directory, in which the changes in progress are a folder, and its name
// tells how far they are:
//
//   plan      new contents are being collected; nothing has happened yet
//   pending   being made or taken back: to be rolled back
//   applied   made; the owner has not yet dealt with them
//   undone    taken back; likewise
//   000012    made, in the history
//
// Before the first file changes, the new contents, the old ones under a second name (a hard link),
// and the list of all steps are on the disk; renaming the folder is then the step that counts.
//
// One object at a time may have the directory's lock, in whatever process; it is taken by Begin,
// BeginUndo and Recover, and given back by Close. Operations that can fail return false, and
// GetError says why. To be used by one thread at a time.
class ChangeJournal {
public:
    // Changes that the history keeps.
    static constexpr std::size_t kHistory = 256;

    // `directory` is absolute, and is made by Begin; no disk is touched before. `base` is the
    // folder that it belongs to: the history stays of use when that gets another name.
    ChangeJournal(std::string directory, std::string base);
    ~ChangeJournal() { Close(); }
    ChangeJournal(const ChangeJournal&) = delete;
    ChangeJournal& operator=(const ChangeJournal&) = delete;

    // What holds the new contents until Apply; there after Begin, empty.
    std::string StagingFolder() const;

    // Takes the lock, within the deadline, and starts a plan. False also when changes were
    // interrupted and have not been recovered.
    bool Begin(std::chrono::milliseconds patience);
    // Makes the changes. When that fails, all that was done is taken back first.
    bool Apply(ChangeSet changes);
    // Takes applied changes back. What has been changed by others since stays as it is: such files
    // are listed by GetConflicts, and the old contents remain in the directory.
    bool RollBack();
    // Puts applied changes into the history, or removes what is left of undone ones.
    bool Finish();
    // Gives the lock back. A plan is dropped.
    void Close();

    // Whether changes were interrupted: a look at the disk, without the lock.
    bool WasInterrupted() const;
    // Rolls interrupted changes back unless they were applied as a whole. Afterwards the owner
    // deals with GetChanges and says Finish. False also when another process holds the lock: then
    // it is at work, and nothing was interrupted.
    bool Recover();
    // Whether another process holds the lock, by the last operation that wanted it.
    bool IsBusy() const { return m_busy; }
    bool IsApplied() const { return m_applied; }

    // Loads the last changes of the history. False when there are none; GetConflicts lists what
    // keeps them from being taken back.
    bool BeginUndo(std::chrono::milliseconds patience);
    // Takes them back; then Finish. Files that come back get the present as their time of last
    // write, so that builds notice.
    bool Undo();

    // The changes that the last operation was about.
    const ChangeSet& GetChanges() const { return m_changes; }
    const std::vector<std::string>& GetConflicts() const { return m_conflicts; }
    const std::string& GetError() const { return m_error; }

private:
    enum class Folder { Plan, Pending, Applied, Undone };

    std::string PathOf(Folder folder) const;
    bool TakeLock(std::chrono::milliseconds patience);
    bool Load(const std::string& folder);
    bool MakePlan();
    bool Keep();
    bool Prepare();
    bool Perform();
    bool Enter(const std::string& from, Folder to);
    bool SyncTouched(const std::vector<std::string>& folders) const;
    bool RollBackPending();
    std::vector<std::string> History() const;
    bool Fail(const std::string& what);

    const std::string m_directory;
    const std::string m_base;
    LockFile m_lock;
    bool m_locked = false;
    bool m_busy = false;
    bool m_applied = false;
    std::string m_last;  // the folder of the last changes in the history
    ChangeSet m_changes;
    std::vector<std::string> m_conflicts;
    std::string m_error;
};

}  // namespace vexa
