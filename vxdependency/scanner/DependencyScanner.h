#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vexa/Export.h"
#include "vexa/io/FileSystemWatcher.h"
#include "vxdependency/scanner/FileInfoData.h"

namespace vexa {
class IHeartbeat;
class StepGate;
}  // namespace vexa

class FileTable;
class RescanPlan;
class StepRequests;
class TreeUpdate;
struct AppliedChange;
struct ChangeBatch;
struct ListedEntry;
struct ListedFolder;
struct ScanWalk;

// What the scanner is about, as far as changes are concerned.
enum class FollowState : std::uint8_t {
    Idle,        // changes are not followed
    Paused,      // DoWatch(false)
    Scanning,    // a scan runs; changes are followed beside it
    Rescanning,  // changes may have been missed: the tree is compared with the store
    Watching,
};

// What the scan that is running, or ran last, has done so far.
struct ScanStatistics {
    std::int64_t files = 0;        // files found by the walk
    std::int64_t regenerated = 0;  // files read because they were new or had changed
    std::int64_t failed = 0;       // of all files of the tree, those that cannot be read or parsed
    std::int64_t removed = 0;      // files forgotten because they are gone
    std::int64_t references = 0;   // entries in the lists of all files of the tree
    std::int64_t referrers = 0;    // files of the tree with at least one entry
    std::int64_t unreadableFolders = 0;
    double seconds = 0;
    bool complete = false;  // it went through every file
    std::string error;      // what ended it early, for a person
};

// Walks the resource roots, sorts what it finds into buckets by extension, and regenerates the
// files that changed since they were last read, as one job of the job system.
//
// All operations may be called from any thread, except GetFileListBySuffix, which must not be
// called while a scan runs. Notifications go through the editor thread's command queue.
class VX_API DependencyScanner {
public:
    DependencyScanner();
    ~DependencyScanner();
    DependencyScanner(const DependencyScanner&) = delete;
    DependencyScanner& operator=(const DependencyScanner&) = delete;

    // Starts a scan and returns at once; one that is asked for while another runs comes after it.
    // When a scan ends, finished or paused, ScanFinished is posted to the editor thread.
    void Exec();
    // Stops the scan after the file that it is at; what is done is kept. It is not resumed: the
    // next Exec starts anew, and passes over what is up to date.
    void Pause();
    // Pause, and returns when no scan runs or waits any more. Must not be called from a job.
    void PauseAndWait();

    std::int32_t GetScanProgress() const;  // percent
    std::int32_t GetScanElapsedSecond() const;
    bool IsScanningFinshed() const;  // true once a scan has gone through everything
    bool IsScanning() const;         // a scan was asked for that has not ended
    ScanStatistics GetStatistics() const;

    // The files found so far with an extension (".xml", "" for names without one).
    std::vector<FileInfoData> GetFileListBySuffix(const char* suffix);

    // Moves a file or a folder with its ".vxmeta", and brings what refers to it and the store in
    // step (see CDependencyManager::SyncRename). False, with nothing logged, when there is no
    // `source`.
    bool SyncRename(std::string source, std::string destination);

    // Follows changes on disk from now on, on a thread of its own that lives as long as the
    // process: what is added or modified is read, what is removed is forgotten, what is moved is
    // renamed by the manager, which rewrites the files that refer to it. It looks at every folder
    // first. An error is logged when the tree cannot be watched. Later calls do nothing.
    void Monitor();
    bool IsMonitoring() const { return m_monitoring; }
    // Stops and resumes following. What happens in between is not followed one by one (no
    // references are rewritten): the first changes after it are dropped, and the tree is compared
    // with the store. Calls the UI function with the opposite of `on`; std::bad_function_call
    // without one.
    void DoWatch(bool on);
    // Called with true when a batch of renames or a comparison of the whole tree begins, with false
    // when it ends, on the change thread; and by DoWatch.
    void RegisterUpdateDependencyUIFunction(std::function<void(bool)> callback);
    // Called on the change thread for each change that the store has taken over.
    void RegisterChangeFunction(std::function<void(const AppliedChange&)> callback);
    // Waits until everything that happened on disk before the call is in the store. False when it
    // takes longer than `timeout`, or changes are not followed. Must not be called on the change
    // thread, nor by a job; during a scan it waits for the scan's end.
    bool WaitUntilCaughtUp(std::chrono::milliseconds timeout);
    FollowState GetFollowState() const;

    // The change thread: at intervals of half a second, a step. Never returns.
    void ThreadProcessChanges();
    // One step of it: takes over what the watcher has collected. For the change thread alone, or
    // for who drives the loop in its place.
    void ProcessStep();
    // What watches the roots. Which way it takes is to be said before Monitor.
    vexa::vxio::FileSystemWatcher& Watcher() { return *m_watcher; }

    // WaitingFileScanFinished is posted when a scan has dealt with this file.
    void SetWaitingFile(const std::string& path);

    // The gate that scan steps pass; the manager shuts it before it closes the store.
    vexa::StepGate& Gate() { return *m_gate; }

private:
    // A file that a walk met: the walk, and its number there.
    struct Record {
        std::uint32_t walk;
        std::uint32_t file;
    };
    struct Bucket {
        std::vector<Record> records;
        bool isRead = false;  // files of this extension have a generator
    };

    static unsigned long ThreadProc(void* scanner);
    void ProcessChanges(std::vector<vexa::vxio::DirectoryChangeParam>& changes);
    bool ArmWatcher();
    void TakePending(bool scanning);
    void TakeBatch(const ChangeBatch& batch);
    void LookAgainAt(const ChangeBatch& batch);
    void TakeRenames(const ChangeBatch& batch);
    bool TakeRename(const std::string& oldKey, const std::string& newKey);
    void LookAgain();
    void NoteWhatMayBeMissed();
    void CompareIfDue();
    void Rescan();
    void CompareTree(RescanPlan& plan);
    void WantRescan(const std::string& reason);
    void TakeOver(TreeUpdate& update, const std::set<std::string>& renamed = {});
    void TellChange(const AppliedChange& change);
    void TellUi(bool busy);

    void Submit();
    void RunJob();
    void Scan();
    void Prepare(ScanWalk& walk);
    bool ReadFiles(ScanWalk& walk);
    void GetAllFiles(ListedFolder& folder, ScanWalk& walk);
    void FolderUnread(const ListedFolder& folder, ScanWalk& walk);
    void MeetFile(const ListedFolder& folder, const std::string& key, const ListedEntry& entry,
                  ScanWalk& walk);
    Bucket& BucketOf(const ListedFolder& folder, std::string_view name);
    bool PrepareStore(ScanWalk& walk);
    std::vector<const Bucket*> BucketsInOrder() const;
    const FileTable& FilesOf(const Record& record) const { return *m_walks[record.walk]; }
    bool FillStore(ScanWalk& walk);
    bool ScanBuckets(ScanWalk& walk);
    bool ScanBucket(const Bucket& bucket, ScanWalk& walk);
    bool ScanRecord(const Record& record, bool isRead, ScanWalk& walk);
    bool Stop(ScanWalk& walk);
    static bool HasMoved(const std::string& key, const ScanWalk& walk);
    bool ScanFile(const Record& record, bool isRead, ScanWalk& walk);
    void ShowProgress(ScanWalk& walk);
    bool NeedsReading(const Record& record, const std::string& key);
    void ReadFile(const Record& record, const std::string& key, ScanWalk& walk);
    void TellWaitingFile(std::string_view key);
    bool Finish(ScanWalk& walk);
    void Publish(const ScanWalk& walk);

    std::unordered_map<std::string, Bucket> m_buckets;
    std::vector<std::unique_ptr<FileTable>> m_walks;
    std::int32_t m_fileCount = 0;
    std::unordered_set<std::string> m_roots;
    std::uintptr_t m_changeThread = 0;
    vexa::IHeartbeat* m_heartbeat = nullptr;
    std::int64_t m_lastBeat = 0;
    std::vector<vexa::vxio::DirectoryChangeParam> m_pending;
    std::unique_ptr<vexa::vxio::FileSystemWatcher> m_watcher;
    std::atomic<bool> m_running{true};
    std::atomic<bool> m_watching{true};
    std::atomic<bool> m_watchStopped{false};
    std::atomic<bool> m_finished{false};
    std::atomic<std::int32_t> m_progress{0};
    std::atomic<std::int32_t> m_elapsed{0};

    mutable std::mutex m_guard;  // the four that follow
    std::function<void(bool)> m_updateUi;
    std::function<void(const AppliedChange&)> m_tellChange;
    std::string m_waitingFile;  // in the "/" form, once it has been looked for
    ScanStatistics m_statistics;
    std::atomic<bool> m_isWaited{false};  // there is a waiting file

    std::atomic<int> m_requested{0};  // scans asked for and not ended
    std::unique_ptr<vexa::StepGate> m_gate;

    std::mutex m_armGuard;
    std::atomic<bool> m_monitoring{false};
    std::atomic<bool> m_rescanning{false};
    std::atomic<int> m_scansBegun{0};
    std::atomic<int> m_scansEnded{0};
    std::unique_ptr<StepRequests> m_steps;

    // Of the change thread.
    std::unique_ptr<RescanPlan> m_rescan;   // when changes may have been missed
    std::unique_ptr<RescanPlan> m_recheck;  // while the tree is polled
    int m_scansSeen = 0;
    std::set<std::string> m_lookAgain;  // keys, when no scan runs
};
