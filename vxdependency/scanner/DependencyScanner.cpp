#include "vxdependency/scanner/DependencyScanner.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <future>
#include <limits>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/io/Path.h"
#include "vexa/os/Clock.h"
#include "vexa/os/FileAccess.h"
#include "vexa/os/FindFiles.h"
#include "vexa/os/WindowsApi.h"
#include "vexa/threading/CommandQueue.h"
#include "vexa/threading/JobSystem.h"
#include "vexa/threading/StepGate.h"
#include "vxdependency/manager/Configuration.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/manager/ManagerMutex.h"
#include "vxdependency/scanner/FolderWalk.h"
#include "vxdependency/scanner/RescanPlan.h"
#include "vxdependency/scanner/ScanWalk.h"
#include "vxdependency/scanner/StepRequests.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"

using vexa::CDependencyManager;
using vexa::InterfaceBox;
using vexa::Log;
using vexa::LogError;
using vexa::LogWarning;
using vexa::vxdependency::CatalogueEntry;
using vexa::vxdependency::GeneralDependency;

namespace {

// Files of these extensions are regenerated before all others.
const std::vector<std::string> kSuffixOrder = {".gim", ".animconfig"};

GeneralDependency& Store() {
    return *GeneralDependency::Instance();
}

std::string WithSlashes(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

// The key of a walked path, which is the root and clean steps down from it.
std::string KeyOf(const std::string& path) {
    const std::size_t root = InterfaceBox::Instance().GetResourceRoot().size();
    return path.size() <= root ? "" : WithSlashes(path.substr(root + 1));
}

// When the same files would be read differently than the store remembers, its answers are stale
// though no file changed: the store is emptied, and the scan fills it anew.
void ForgetWhatOtherRulesFound() {
    const auto fingerprint = vexa::Configuration::Locate().Fingerprint();
    if (!fingerprint) return;
    std::string stored;
    const bool known = Store().GetMeta("configuration", stored);
    if (known && stored == *fingerprint) return;
    const std::lock_guard lock(vexa::ManagerMutex());
    if (known) {
        Log(0, "The configuration has changed: every file is read again.");
        Store().Clear();
    }
    Store().SetMeta("configuration", *fingerprint);
}

// Says why a folder is passed over that is write-protected or a link, so that no ring can form.
void LogNotDescended(const std::string& path, unsigned attributes) {
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return;
    Log(0, "%s: this folder is %s; what is below it is not scanned", path.c_str(),
        attributes & FILE_ATTRIBUTE_REPARSE_POINT ? "a link" : "write-protected");
}

using CollidingPairs = std::vector<std::pair<std::string, std::string>>;

CollidingPairs CollisionsOf(const ScanWalk& walk) {
    if (!walk.newFiles) return {};
    return vexa::vxdependency::FindCollisions(
        walk.met.size(), [&walk](std::size_t i) { return KeyOf(walk.met[i].Get().path); });
}

void WarnOfCollisions(const CollidingPairs& pairs) {
    if (pairs.empty()) return;
    LogWarning("%zu pairs of resources share a record of the store, as \"%s\" and \"%s\" do",
               pairs.size(), pairs.front().first.c_str(), pairs.front().second.c_str());
}

}  // namespace

DependencyScanner::DependencyScanner()
    : m_buckets(8),
      m_watcher(std::make_unique<vexa::vxio::FileSystemWatcher>()),
      m_gate(std::make_unique<vexa::StepGate>()),
      m_steps(std::make_unique<StepRequests>()),
      m_rescan(std::make_unique<RescanPlan>()),
      m_recheck(std::make_unique<RescanPlan>()) {
    const std::set<std::string> roots = CDependencyManager::GetAllRoots();
    m_roots.insert(roots.begin(), roots.end());
    for (const std::string& root : m_roots) m_watcher->WatchDirectory(root);
    m_heartbeat = InterfaceBox::Instance().GetHeartbeat()->AddRef();
    m_lastBeat = m_heartbeat->Last();
}

DependencyScanner::~DependencyScanner() {
    m_heartbeat->Release();
}

void DependencyScanner::Exec() {
    m_running = true;
    if (m_requested.fetch_add(1) == 0) Submit();
}

void DependencyScanner::Pause() {
    m_running = false;
}

void DependencyScanner::PauseAndWait() {
    Pause();
    for (int requested = m_requested; requested > 0; requested = m_requested) {
        m_requested.wait(requested);
    }
}

void DependencyScanner::Submit() {
    constexpr unsigned char kAnyWorker = 255;
    vexa::job_release(
        vexa::run([this] { RunJob(); }, vexa::JobPriority::Normal, kAnyWorker, "DependencyScan"));
}

void DependencyScanner::RunJob() {
    try {
        Scan();
    } catch (const std::exception& error) {
        LogError("The resource scan ended early: %s", error.what());
        const std::lock_guard lock(m_guard);
        m_statistics.error = error.what();
    }
    vexa::vxThread<0>::Handle.post(
        [] { CDependencyManager::GetSingleton().Emit<CDependencyManager::ScanFinished>(); });
    ++m_scansEnded;
    // One that was asked for meanwhile comes now, as a job of its own.
    const bool another = m_requested.fetch_sub(1) > 1;
    m_requested.notify_all();
    if (another) Submit();
}

std::int32_t DependencyScanner::GetScanProgress() const {
    return m_progress;
}

std::int32_t DependencyScanner::GetScanElapsedSecond() const {
    return m_elapsed;
}

bool DependencyScanner::IsScanningFinshed() const {
    return m_finished;
}

bool DependencyScanner::IsScanning() const {
    return m_requested > 0;
}

ScanStatistics DependencyScanner::GetStatistics() const {
    const std::lock_guard lock(m_guard);
    return m_statistics;
}

void DependencyScanner::Publish(const ScanWalk& walk) {
    const std::lock_guard lock(m_guard);
    m_statistics = walk.statistics;
    m_statistics.seconds = static_cast<double>(vexa::os::WallClockMs() - walk.startMs) / 1000;
}

std::vector<FileInfoData> DependencyScanner::GetFileListBySuffix(const char* suffix) {
    return m_buckets[suffix];
}

bool DependencyScanner::SyncRename(std::string source, std::string destination) {
    if (!InterfaceBox::Instance().GetFileService().GetState(source).exists) return false;
    return CDependencyManager::GetSingletonPtr()->MoveAndRename(source, destination);
}

void DependencyScanner::SetWaitingFile(const std::string& path) {
    char absolute[MAX_PATH + 1] = "";
    CDependencyManager::GetSingleton().MakeAbsolutePath(absolute, path.c_str());
    const std::lock_guard lock(m_guard);
    m_waitingFile = absolute;
}

// --- the walk ---

// Links and folders that are not descended may lead anywhere.
void DependencyScanner::Know(const std::string& path, unsigned attributes, ScanWalk& walk) {
    constexpr unsigned kElsewhere = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    if (attributes & kElsewhere) {
        walk.known.AddUnknown(KeyOf(path));
    } else {
        walk.known.Add(KeyOf(path));
    }
}

// A folder that could not be listed to its end: nothing below it may be taken for gone.
void DependencyScanner::FolderUnread(const ListedFolder& folder, ScanWalk& walk) {
    LogError("%s: the folder cannot be read: %s", WithSlashes(folder.path).c_str(),
             std::strerror(folder.error));
    ++walk.statistics.unreadableFolders;
    walk.unreadable.push_back(KeyOf(folder.path));
    walk.known.AddUnknown(walk.unreadable.back());
}

// Sorts what a walk listed into the buckets: the files of a folder before those of the folders
// below it.
void DependencyScanner::GetAllFiles(ListedFolder& folder, ScanWalk& walk) {
    for (ListedEntry& entry : folder.entries) {
        std::string path = folder.path + "\\" + entry.name;
        if (entry.name.find('\\') != std::string::npos) {
            LogWarning("%s/%s: left out: its name holds a backslash",
                       WithSlashes(folder.path).c_str(), entry.name.c_str());
            continue;
        }
        LogNotDescended(WithSlashes(path), entry.attributes);
        Know(path, entry.attributes, walk);
        InsertToBucket(
            {std::move(path), entry.writeTime, entry.state.writeTimeNs, entry.state.size}, walk);
    }
    if (folder.error != 0) FolderUnread(folder, walk);
    folder.entries = {};
    for (const auto& below : folder.folders) GetAllFiles(*below, walk);
}

void DependencyScanner::InsertToBucket(FileInfoData info, ScanWalk& walk) {
    const std::string extension = vexa::vxio::GetFileExtension(info.path);
    m_buckets.try_emplace(extension);
    std::vector<FileInfoData>& bucket = m_buckets.at(extension);
    bucket.push_back(std::move(info));
    walk.met.push_back({&bucket, bucket.size() - 1});
    ++m_fileCount;
}

// --- the scan ---

void DependencyScanner::Scan() {
    ScanWalk walk;
    walk.startMs = vexa::os::WallClockMs();
    walk.renames = CDependencyManager::CountRenames();
    m_progress = 0;
    m_elapsed = 0;
    ++m_scansBegun;
    Publish(walk);
    // So that what changes behind the walk is seen.
    if (m_monitoring) ArmWatcher();
    Prepare(walk);
    const bool complete = walk.walked && ReadFiles(walk);
    if (walk.statistics.regenerated > 0 || walk.statistics.removed > 0) {
        const vexa::StepGate::Pass pass(*m_gate);
        SumCatalogue(walk.statistics);
    }
    walk.statistics.complete = complete;
    Publish(walk);
    if (!complete) return;
    m_finished = true;
    m_progress = 100;
    Log(0, "Resource Dependency Scanning Finished!");
}

// Brings the store up to date with what the walk met; false when that was not done to the end.
bool DependencyScanner::ReadFiles(ScanWalk& walk) {
    vexa::vxdependency::StoreBatch batch(&Store());
    const vexa::KnownFiles::Use known(walk.known);
    CDependencyManager::GetSingletonPtr()->Invalidate(walk.affected);
    walk.ahead = std::make_unique<ReadAhead>(walk.known, *m_gate);
    // Now, while the log is still small: at the end its memory would add to the peak.
    auto collisions = std::async([&walk] { return CollisionsOf(walk); });
    bool complete = ScanBuckets(walk);
    walk.ahead.reset();
    complete = complete && Finish(walk);
    if (complete && walk.newFiles) WarnOfCollisions(collisions.get());
    if (!batch.End()) {
        walk.statistics.error = Store().GetWriteError();
        complete = false;
    }
    return complete;
}

void DependencyScanner::Prepare(ScanWalk& walk) {
    const vexa::StepGate::Pass pass(*m_gate);
    ForgetWhatOtherRulesFound();
    // What an earlier scan found out of its files no longer counts.
    for (auto& [extension, bucket] : m_buckets) {
        for (FileInfoData& record : bucket) record.change = FileInfoData::Change::Unknown;
    }
    const auto goOn = [this] { return m_running.load(); };
    for (const std::string& root : m_roots) GetAllFiles(*WalkFolder(root, goOn), walk);
    walk.walked = m_running;
    walk.statistics.files = static_cast<std::int64_t>(walk.met.size());
    if (walk.walked) CompareWithCatalogue(walk);
    walk.affected =
        CDependencyManager::GetSingletonPtr()->FilesAffected(walk.changed, walk.vanished);
    MarkForReading(walk, walk.affected);
    walk.step = m_fileCount / 10;
    walk.threshold = walk.step;
}

bool DependencyScanner::ScanBuckets(ScanWalk& walk) {
    for (const std::string& suffix : kSuffixOrder) {
        if (m_buckets.count(suffix) != 0 && !ScanBucket(suffix, walk)) return false;
    }
    for (const auto& [extension, bucket] : m_buckets) {
        const bool done =
            std::find(kSuffixOrder.begin(), kSuffixOrder.end(), extension) != kSuffixOrder.end();
        if (!done && !ScanBucket(extension, walk)) return false;
    }
    return true;
}

bool DependencyScanner::ScanBucket(const std::string& extension, ScanWalk& walk) {
    const std::vector<FileInfoData>& bucket = m_buckets.at(extension);
    if (bucket.empty()) return true;
    const bool isRead =
        CDependencyManager::GetSingletonPtr()->HasDependencyGenerator(bucket.front().path);
    std::size_t expected = 0;
    for (std::size_t i = 0; i < bucket.size(); ++i) {
        const FileInfoData& record = bucket[i];
        for (; isRead && expected < std::min(i + ReadAhead::kWindow, bucket.size()); ++expected) {
            const FileInfoData& next = bucket[expected];
            if (next.change == FileInfoData::Change::Changed) walk.ahead->Expect(KeyOf(next.path));
        }
        // All that is left to read is on its way. Written now, while workers read it, what is
        // logged does not have to be written when they have nothing left to do.
        if (i + ReadAhead::kWindow == bucket.size() && !Store().FlushBatch()) return Stop(walk);
        ++walk.processed;
        const vexa::StepGate::Pass pass(*m_gate);
        if (!ScanFile(record, walk)) return false;
        if (!Store().BatchCheckpoint()) return Stop(walk);
    }
    return true;
}

// Ends a scan whose work the store could not take.
bool DependencyScanner::Stop(ScanWalk& walk) {
    walk.statistics.error = Store().GetWriteError();
    return false;
}

void DependencyScanner::ShowProgress(ScanWalk& walk) {
    if (walk.processed == walk.threshold) {
        const std::int64_t percent = (std::int64_t{walk.threshold} + 1) * 100 / m_fileCount;
        Log(0, "Resource Dependency Scanning Progress %d %% .", static_cast<int>(percent));
        walk.threshold += walk.step;
    }
    m_progress = static_cast<std::int32_t>(std::int64_t{walk.processed} * 100 / m_fileCount);
}

// A rename has taken the file elsewhere, and has seen to its records.
bool DependencyScanner::HasMoved(const FileInfoData& record, const ScanWalk& walk) {
    return CDependencyManager::CountRenames() != walk.renames &&
           !vexa::os::StateOfPath(WithSlashes(record.path)).exists;
}

bool DependencyScanner::ScanFile(FileInfoData record, ScanWalk& walk) {
    ShowProgress(walk);
    if (HasMoved(record, walk)) return m_running;
    if (!CDependencyManager::GetSingletonPtr()->HasDependencyGenerator(record.path)) {
        // No list is made of it, but that it is there, and since when, is known.
        if (record.change == FileInfoData::Change::Changed) {
            Store().SetFile(KeyOf(record.path), {record.writeTimeNs, record.size, 0, false});
        }
        return true;
    }
    if (NeedsReading(record)) ReadFile(record, walk);
    TellWaitingFile(record);
    if (!m_running) return false;
    m_elapsed = static_cast<std::int32_t>((vexa::os::WallClockMs() - walk.startMs) / 1000);
    return true;
}

bool DependencyScanner::NeedsReading(const FileInfoData& record) {
    // The store's reader converts no separators; stamps are kept under the "/" form.
    std::int64_t stored = std::numeric_limits<std::int64_t>::min();
    Store().GetTimeStamp(WithSlashes(record.path), stored);
    if (stored != record.timestamp) return true;
    if (record.change != FileInfoData::Change::Changed) return false;
    // It had changed when the walk met it; a query may have read it since.
    CatalogueEntry entry;
    return !Store().FindFile(KeyOf(record.path), entry) ||
           entry.writeTimeNs != record.writeTimeNs || entry.size != record.size;
}

void DependencyScanner::ReadFile(const FileInfoData& record, ScanWalk& walk) {
    const std::string relative = KeyOf(record.path);
    const vexa::FileLook look{record.timestamp, {true, false, record.writeTimeNs, record.size}};
    // A record of an earlier scan tells nothing of the file as it is now.
    const bool current = record.change != FileInfoData::Change::Unknown;
    const bool expected = record.change == FileInfoData::Change::Changed;
    std::unique_ptr<vexa::FileReading> ahead = expected ? walk.ahead->Take(relative) : nullptr;
    const std::lock_guard lock(vexa::ManagerMutex());
    // Since a rename, neither what the walk met nor what was read ahead is sure to be true.
    static const vexa::KnownFiles kNothingKnown(vexa::KnownFiles::Answer::AskDisk);
    const bool overtaken = CDependencyManager::CountRenames() != walk.renames;
    const vexa::KnownFiles::Use use(overtaken ? kNothingKnown : walk.known);
    if (overtaken) ahead.reset();
    const vexa::GenerationResult result = CDependencyManager::GetSingletonPtr()->Regenerate(
        relative, "", current && !overtaken ? &look : nullptr, std::move(ahead));
    if (!result.dependencies.empty() && !result.preliminary)
        Store().SetTimeStamp(record.path, record.timestamp);
    if (result.generated) ++walk.statistics.regenerated;
    Publish(walk);
}

void DependencyScanner::TellWaitingFile(FileInfoData& record) {
    const std::lock_guard lock(m_guard);
    if (m_waitingFile.empty()) return;
    m_waitingFile = WithSlashes(m_waitingFile);
    record.path = WithSlashes(record.path);
    if (record.path != m_waitingFile) return;
    vexa::vxThread<0>::Handle.post([] {
        CDependencyManager::GetSingleton().Emit<CDependencyManager::WaitingFileScanFinished>();
    });
}

// Forgets the files that are gone, now that those which named them are up to date.
bool DependencyScanner::Finish(ScanWalk& walk) {
    const vexa::StepGate::Pass pass(*m_gate);
    if (!CDependencyManager::GetSingletonPtr()->Forget(walk.vanished)) return Stop(walk);
    walk.statistics.removed = static_cast<std::int64_t>(walk.vanished.size());
    Store().SetMeta("last_scan", std::to_string(vexa::os::UnixTimeMs()));
    return true;
}
