#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
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

struct ListedFolder;
struct ScanWalk;

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

    // Change monitoring.
    void Monitor();
    void DoWatch(bool on);
    // Called with true when a batch of renames begins, with false when it ends.
    void RegisterUpdateDependencyUIFunction(std::function<void(bool)> callback);
    // WaitingFileScanFinished is posted when a scan has dealt with this file.
    void SetWaitingFile(const std::string& path);

    // The gate that scan steps pass; the manager shuts it before it closes the store.
    vexa::StepGate& Gate() { return *m_gate; }

private:
    void Submit();
    void RunJob();
    void Scan();
    void Prepare(ScanWalk& walk);
    bool ReadFiles(ScanWalk& walk);
    void GetAllFiles(ListedFolder& folder, ScanWalk& walk);
    void FolderUnread(const ListedFolder& folder, ScanWalk& walk);
    void Know(const std::string& path, unsigned attributes, ScanWalk& walk);
    void InsertToBucket(FileInfoData info, ScanWalk& walk);
    bool ScanBuckets(ScanWalk& walk);
    bool ScanBucket(const std::string& extension, ScanWalk& walk);
    bool Stop(ScanWalk& walk);
    bool ScanFile(FileInfoData record, ScanWalk& walk);
    void ShowProgress(ScanWalk& walk);
    bool NeedsReading(const FileInfoData& record);
    void ReadFile(const FileInfoData& record, ScanWalk& walk);
    void TellWaitingFile(FileInfoData& record);
    bool Finish(ScanWalk& walk);
    void Publish(const ScanWalk& walk);

    std::unordered_map<std::string, std::vector<FileInfoData>> m_buckets;
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

    mutable std::mutex m_guard;  // the three that follow
    std::function<void(bool)> m_updateUi;
    std::string m_waitingFile;
    ScanStatistics m_statistics;

    std::atomic<int> m_requested{0};  // scans asked for and not ended
    std::unique_ptr<vexa::StepGate> m_gate;
};
