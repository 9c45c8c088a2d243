#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vexa/Export.h"

namespace vexa::vxio {

// What happened to an entry; the values of DirectoryChangeParam::action.
namespace ChangeAction {
constexpr std::int32_t Added = 0;
constexpr std::int32_t Removed = 1;
constexpr std::int32_t Modified = 2;
constexpr std::int32_t OldName = 3;  // of a rename; the next change is its new name
constexpr std::int32_t NewName = 4;
}  // namespace ChangeAction

// One change below a watched directory.
struct DirectoryChangeParam {
    std::int32_t action = ChangeAction::Added;
    std::string directory;  // the watched directory, as it was given to WatchDirectory
    std::string name;       // relative to it, "\" between segments
    std::string extra;      // unused
};

// Tells what happens to the files below some directories.
//
// What is told:
// - An added folder stands for all that was in it when it was added; what comes into it later is
//   told by itself. What is already told may be told again.
// - A file is told when its writer has closed it, or has left it alone for two seconds. Changes of
//   one entry that follow one another without a removal or a rename between are told once.
// - A rename is told as its old and its new name, one right after the other, also when it goes to
//   another folder. What is renamed to or from a place that is not watched is added or removed.
//   Renames wait for 200 milliseconds, with what follows them: a program that saves a file by
//   renaming the old one away has put the new one in its place by then. A file that goes through
//   several names without a pause is told as one rename.
// - Folders that walks do not descend into (links, write-protected ones, names with a backslash)
//   are not followed. A link to a file is told when what it leads to has changed.
// - Not told: writes through a memory map or through another hard link of the same file.
//
// There are two ways to learn of changes. Notifications of the system (inotify on Linux), at next
// to no cost. And polling: walking the tree at intervals of at least a second, and of ten times as
// long as a walk takes, for file systems that notify of nothing. Polling tells a rename by the
// identity that the file system gives a file. A backend for Windows (ReadDirectoryChangesW) would
// be another implementation of IWatchBackend; it is not written yet.
//
// One thread may read while others wait in CatchUp; the other operations are for one thread.
class VX_API FileSystemWatcher {
public:
    enum class Backend { Automatic, Notifications, Polling };

    FileSystemWatcher();
    // Stops watching.
    ~FileSystemWatcher();
    FileSystemWatcher(const FileSystemWatcher&) = delete;
    FileSystemWatcher& operator=(const FileSystemWatcher&) = delete;

    // Notes a directory (absolute, "/" between segments) to watch, with everything below it.
    // Touches no disk: arming waits until somebody wants the changes, so that a query pays nothing.
    void WatchDirectory(const std::string& directory);
    const std::vector<std::string>& Directories() const;

    // Which way to take; to be called before Arm. Automatic takes notifications, and polling when
    // they cannot be had, with a warning that says why. Notifications alone makes Arm fail then.
    void UseBackend(Backend backend);

    // Begins to watch: whatever happens after the call is told. It looks at every folder. Later
    // calls do nothing. False, with an error logged, when a directory cannot be watched.
    bool Arm();
    bool IsArmed() const;
    // The way that is taken; after Arm never Automatic. When watches run out, polling takes over.
    Backend BackendInUse() const;

    // Appends what was collected since the last call. Never waits.
    void ReadChanges(std::vector<DirectoryChangeParam>& changes);

    // Why changes since the last call may be missing from what is told, for a person; "" when none
    // are. Whoever keeps something in step with the tree then compares it with all of the tree,
    // which is watched again by now.
    std::string TakeLoss();

    // Waits until everything that happened before the call can be read, renames and files that are
    // being written included. False when that takes longer than `timeout`, or before Arm.
    bool CatchUp(std::chrono::milliseconds timeout);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace vexa::vxio
