#include "vxdependency/scanner/DependencyScanner.h"

#include <algorithm>
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
#include "vxdependency/scanner/FirstReading.h"
#include "vxdependency/scanner/FolderWalk.h"
#include "vxdependency/scanner/RescanPlan.h"
#include "vxdependency/scanner/ScanWalk.h"
#include "vxdependency/scanner/StepRequests.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/SharedRecords.h"

using vexa::CDependencyManager;
using vexa::InterfaceBox;
using vexa::Log;
using vexa::LogError;
using vexa::LogWarning;
using vexa::vxdependency::CatalogueEntry;
using vexa::vxdependency::GeneralDependency;
using vexa::vxdependency::StoreFill;

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
    if (!walk.newFiles && !walk.isFirst) return {};
    return vexa::vxdependency::FindCollisions(walk.files.Size(), [&walk](std::size_t i) {
        return walk.files.KeyOf(static_cast<FileTable::Number>(i));
    });
}

void NoteCollisions(const CollidingPairs& pairs) {
    std::vector<vexa::vxdependency::RecordId> ids;
    for (const auto& pair : pairs) ids.push_back(vexa::vxdependency::IdOf(pair.first));
    vexa::vxdependency::NoteSharedIds(Store(), std::move(ids));
}

void WarnOfCollisions(std::size_t count, const std::pair<std::string, std::string>& first) {
    LogWarning("%zu pairs of resources share a record of the store, as \"%s\" and \"%s\" do", count,
               first.first.c_str(), first.second.c_str());
}

std::string AbsolutePath(std::string_view key) {
    return std::string(InterfaceBox::Instance().GetResourceRoot()).append("/").append(key);
}

// Whether the record of the file's stamp is another text's as well, which has put its own value
// there. Such a file looks changed to every scan; to store what it holds already would in turn take
// the other's value away.
bool HasLostStamp(const std::string& key, const vexa::FileLook& look, const CatalogueEntry& known) {
    return known.writeTimeNs == look.state.writeTimeNs && known.size == look.state.size &&
           Store().HasStampRecord(AbsolutePath(key));
}

// The files and the bytes of their keys.
struct Amount {
    std::size_t files = 0;
    std::size_t bytes = 0;
};

void Count(const ListedFolder& folder, Amount& amount) {
    amount.files += folder.entries.size();
    amount.bytes += folder.names.size() + folder.entries.size() * (KeyOf(folder.path).size() + 1);
    for (const auto& below : folder.folders) Count(*below, amount);
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
    const std::string& root = InterfaceBox::Instance().GetResourceRoot();
    std::vector<FileInfoData> files;
    for (const Record& record : m_buckets[suffix].records) {
        files.push_back(FilesOf(record).InfoOf(record.file, root));
    }
    return files;
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
    m_isWaited = !m_waitingFile.empty();
}

// --- the walk ---

// A folder that could not be listed to its end: nothing below it may be taken for gone.
void DependencyScanner::FolderUnread(const ListedFolder& folder, ScanWalk& walk) {
    LogError("%s: the folder cannot be read: %s", WithSlashes(folder.path).c_str(),
             std::strerror(folder.error));
    ++walk.statistics.unreadableFolders;
    walk.unreadable.push_back(KeyOf(folder.path));
}

// Sorts what a walk listed into the buckets, in the order of the keys.
void DependencyScanner::GetAllFiles(ListedFolder& folder, ScanWalk& walk) {
    const std::string key = KeyOf(folder.path);
    folder.InKeyOrder([&](const ListedEntry& entry) { MeetFile(folder, key, entry, walk); },
                      [&](ListedFolder& below) {
                          GetAllFiles(below, walk);
                          below = {};  // a tree holds much, and it is not needed any more
                      });
    if (folder.error != 0) FolderUnread(folder, walk);
}

void DependencyScanner::MeetFile(const ListedFolder& folder, const std::string& key,
                                 const ListedEntry& entry, ScanWalk& walk) {
    const std::string_view name = folder.NameOf(entry);
    if (name.find('\\') != std::string_view::npos) {
        LogWarning("%s/%s: left out: its name holds a backslash", WithSlashes(folder.path).c_str(),
                   std::string(name).c_str());
        return;
    }
    Bucket& bucket = BucketOf(folder, name);
    const FileTable::Number file =
        walk.files.Add(key, name, entry.writeTimeNs, entry.size, bucket.isRead);
    // Links and folders that are not descended may lead anywhere.
    constexpr unsigned kElsewhere = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    if (entry.attributes & kElsewhere) {
        walk.elsewhere.emplace_back(walk.files.KeyOf(file));
        LogNotDescended(AbsolutePath(walk.files.KeyOf(file)), entry.attributes);
    }
    bucket.records.push_back({static_cast<std::uint32_t>(m_walks.size() - 1), file});
    ++m_fileCount;
}

DependencyScanner::Bucket& DependencyScanner::BucketOf(const ListedFolder& folder,
                                                       std::string_view name) {
    const std::string extension = vexa::vxio::GetFileExtension(name);
    const auto [bucket, isNew] = m_buckets.try_emplace(extension);
    if (isNew || bucket->second.records.empty()) {
        bucket->second.isRead = CDependencyManager::GetSingletonPtr()->HasDependencyGenerator(
            WithSlashes(folder.path).append("/").append(name));
    }
    return bucket->second;
}

// --- the scan ---

void DependencyScanner::Scan() {
    ScanWalk walk(*m_walks.emplace_back(std::make_unique<FileTable>()));
    walk.startMs = vexa::os::WallClockMs();
    walk.renames = CDependencyManager::CountRenames();
    m_progress = 0;
    m_elapsed = 0;
    ++m_scansBegun;
    Publish(walk);
    // So that what changes behind the walk is seen.
    if (m_monitoring) ArmWatcher();
    const bool complete = PrepareStore(walk) && (Prepare(walk), walk.walked) && ReadFiles(walk);
    if (ChangesCatalogue(walk)) {
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
    if (walk.isFirst && walk.files.Size() > 0 && !FillStore(walk)) return Stop(walk);
    CDependencyManager::GetSingletonPtr()->Invalidate(walk.affected);
    walk.ahead = std::make_unique<ReadAhead>(walk.known, *m_gate);
    // Now, while the log is still small: at the end its memory would add to the peak.
    auto collisions = std::async([&walk] { return CollisionsOf(walk); });
    bool complete = ScanBuckets(walk);
    walk.ahead.reset();
    complete = complete && Finish(walk);
    const CollidingPairs pairs = collisions.get();
    if (walk.newFiles || walk.isFirst) NoteCollisions(pairs);
    if (complete && !pairs.empty()) WarnOfCollisions(pairs.size(), pairs.front());
    if (!batch.End()) {
        walk.statistics.error = Store().GetWriteError();
        complete = false;
    }
    return complete;
}

// Empties the store when what it holds is of no use; false when that could not be done.
bool DependencyScanner::PrepareStore(ScanWalk& walk) {
    const vexa::StepGate::Pass pass(*m_gate);
    bool dropped = false;
    if (!Store().DropHalfFill(dropped)) return Stop(walk);
    if (dropped) Log(0, "The first scan of the store was cut off: every file is read again.");
    ForgetWhatOtherRulesFound();
    return true;
}

void DependencyScanner::Prepare(ScanWalk& walk) {
    const vexa::StepGate::Pass pass(*m_gate);
    // What an earlier scan found out of its files no longer counts.
    for (const auto& files : m_walks) {
        for (FileTable::Number i = 0; i < files->Size(); ++i) {
            files->SetChange(i, FileChange::Unknown);
        }
    }
    const auto goOn = [this] { return m_running.load(); };
    for (const std::string& root : m_roots) {
        const auto tree = WalkFolder(root, goOn);
        Amount amount;
        Count(*tree, amount);
        walk.files.Reserve(amount.files, amount.bytes);
        GetAllFiles(*tree, walk);
    }
    walk.walked = m_running;
    walk.statistics.files = static_cast<std::int64_t>(walk.files.Size());
    if (walk.walked) CompareWithStore(walk);
    walk.affected =
        CDependencyManager::GetSingletonPtr()->FilesAffected(walk.changed, walk.vanished);
    MarkForReading(walk, walk.affected);
    if (walk.walked) KnowFiles(walk);
    walk.step = m_fileCount / 10;
    walk.threshold = walk.step;
}

// The buckets in the order in which their files are read.
std::vector<const DependencyScanner::Bucket*> DependencyScanner::BucketsInOrder() const {
    std::vector<const Bucket*> buckets;
    for (const std::string& suffix : kSuffixOrder) {
        const auto found = m_buckets.find(suffix);
        if (found != m_buckets.end()) buckets.push_back(&found->second);
    }
    for (const auto& [extension, bucket] : m_buckets) {
        const bool done =
            std::find(kSuffixOrder.begin(), kSuffixOrder.end(), extension) != kSuffixOrder.end();
        if (!done) buckets.push_back(&bucket);
    }
    return buckets;
}

// Reads the whole tree into a store that knows nothing of it. What that leaves out, as after a
// rename, is read file by file afterwards. False when the store could not take it.
bool DependencyScanner::FillStore(ScanWalk& walk) {
    std::vector<FirstReading::Item> items;
    items.reserve(walk.files.Size());
    for (const Bucket* const bucket : BucketsInOrder()) {
        for (const Record& record : bucket->records) {
            if (&FilesOf(record) == &walk.files) items.push_back({record.file, bucket->isRead});
        }
    }
    StoreFill fill(walk.files, AbsolutePath(""));
    if (!Store().OpenFill(fill)) return false;
    FirstReading reading(walk.files, walk.known, fill, std::move(items), walk.renames, *m_gate);
    bool lost = false;  // which the store tells once
    const auto progress = [&](std::int64_t processed) {
        walk.processed = static_cast<std::int32_t>(processed);
        ShowProgress(walk);
        m_elapsed = static_cast<std::int32_t>((vexa::os::WallClockMs() - walk.startMs) / 1000);
        walk.statistics.regenerated = reading.FilesRead();
        Publish(walk);
        lost = lost || !Store().BatchCheckpoint();
        return !lost;
    };
    reading.Run([this] { return m_running.load(); }, progress,
                [this](std::string_view key) { TellWaitingFile(key); });
    walk.statistics.regenerated = reading.FilesRead();
    const bool closed = Store().CloseFill();
    return closed && !lost;
}

bool DependencyScanner::ScanBuckets(ScanWalk& walk) {
    return std::ranges::all_of(BucketsInOrder(),
                               [&](const Bucket* bucket) { return ScanBucket(*bucket, walk); });
}

bool DependencyScanner::ScanBucket(const Bucket& bucket, ScanWalk& walk) {
    const std::vector<Record>& records = bucket.records;
    std::size_t expected = 0;
    for (std::size_t i = 0; i < records.size(); ++i) {
        for (; bucket.isRead && expected < std::min(i + ReadAhead::kWindow, records.size());
             ++expected) {
            const Record& next = records[expected];
            if (FilesOf(next).Change(next.file) == FileChange::Changed) {
                walk.ahead->Expect(std::string(FilesOf(next).KeyOf(next.file)));
            }
        }
        // All that is left to read is on its way. Written now, while workers read it, what is
        // logged does not have to be written when they have nothing left to do.
        if (i + ReadAhead::kWindow == records.size() && !Store().FlushBatch()) return Stop(walk);
        if (!ScanRecord(records[i], bucket.isRead, walk)) return false;
    }
    return true;
}

// One step of the scan; false ends it.
bool DependencyScanner::ScanRecord(const Record& record, bool isRead, ScanWalk& walk) {
    const FileTable& files = FilesOf(record);
    const FileChange change = files.Change(record.file);
    if (change == FileChange::Stored) return m_running;  // it has been counted
    ++walk.processed;
    if (change == FileChange::None) {
        // Most files of most scans.
        ShowProgress(walk);
        if (isRead && m_isWaited) TellWaitingFile(files.KeyOf(record.file));
        return m_running;
    }
    const vexa::StepGate::Pass pass(*m_gate);
    if (!ScanFile(record, isRead, walk)) return false;
    return Store().BatchCheckpoint() || Stop(walk);
}

// Ends a scan whose work the store could not take.
bool DependencyScanner::Stop(ScanWalk& walk) {
    walk.statistics.error = Store().GetWriteError();
    return false;
}

void DependencyScanner::ShowProgress(ScanWalk& walk) {
    for (; walk.step > 0 && walk.processed >= walk.threshold; walk.threshold += walk.step) {
        const std::int64_t percent = (std::int64_t{walk.threshold} + 1) * 100 / m_fileCount;
        Log(0, "Resource Dependency Scanning Progress %d %% .", static_cast<int>(percent));
    }
    m_progress = static_cast<std::int32_t>(std::int64_t{walk.processed} * 100 / m_fileCount);
}

// A rename has taken the file elsewhere, and has seen to its records.
bool DependencyScanner::HasMoved(const std::string& key, const ScanWalk& walk) {
    return CDependencyManager::CountRenames() != walk.renames &&
           !vexa::os::StateOfPath(AbsolutePath(key)).exists;
}

bool DependencyScanner::ScanFile(const Record& record, bool isRead, ScanWalk& walk) {
    ShowProgress(walk);
    const FileTable& files = FilesOf(record);
    const std::string key(files.KeyOf(record.file));
    if (HasMoved(key, walk)) return m_running;
    if (!isRead) {
        // No list is made of it, but that it is there, and since when, is known.
        if (files.Change(record.file) == FileChange::Changed) {
            Store().SetFile(key,
                            {files.WriteTimeNs(record.file), files.SizeOf(record.file), 0, false});
        }
        return true;
    }
    if (NeedsReading(record, key)) ReadFile(record, key, walk);
    TellWaitingFile(key);
    if (!m_running) return false;
    m_elapsed = static_cast<std::int32_t>((vexa::os::WallClockMs() - walk.startMs) / 1000);
    return true;
}

bool DependencyScanner::NeedsReading(const Record& record, const std::string& key) {
    const FileTable& files = FilesOf(record);
    // The store's reader converts no separators; stamps are kept under the "/" form.
    std::int64_t stored = std::numeric_limits<std::int64_t>::min();
    Store().GetTimeStamp(AbsolutePath(key), stored);
    if (stored != files.WriteTime(record.file)) return true;
    if (files.Change(record.file) != FileChange::Changed) return false;
    // It had changed when the walk met it; a query may have read it since.
    CatalogueEntry entry;
    return !Store().FindFile(key, entry) || entry.writeTimeNs != files.WriteTimeNs(record.file) ||
           entry.size != files.SizeOf(record.file);
}

void DependencyScanner::ReadFile(const Record& record, const std::string& key, ScanWalk& walk) {
    const FileTable& files = FilesOf(record);
    const vexa::FileLook look{
        files.WriteTime(record.file),
        {true, false, files.WriteTimeNs(record.file), files.SizeOf(record.file)}};
    // A record of an earlier scan tells nothing of the file as it is now.
    const bool current = files.Change(record.file) != FileChange::Unknown;
    const bool expected = files.Change(record.file) == FileChange::Changed;
    std::unique_ptr<vexa::FileReading> ahead = expected ? walk.ahead->Take(key) : nullptr;
    const std::lock_guard lock(vexa::ManagerMutex());
    // Since a rename, neither what the walk met nor what was read ahead is sure to be true.
    static const vexa::KnownFiles kNothingKnown(0, vexa::KnownFiles::Answer::AskDisk);
    const bool overtaken = CDependencyManager::CountRenames() != walk.renames;
    const vexa::KnownFiles::Use use(overtaken ? kNothingKnown : walk.known);
    if (overtaken) ahead.reset();
    const bool settled = current && !overtaken;
    CatalogueEntry before;
    Store().FindFile(key, before);
    if (settled && HasLostStamp(key, look, before)) {
        if (!ahead) ahead = CDependencyManager::GetSingletonPtr()->ReadReferences(key);
        if (ahead && CDependencyManager::GetSingletonPtr()->IsStored(key, look, *ahead)) {
            ++walk.statistics.regenerated;
            Publish(walk);
            return;
        }
    }
    walk.inStep = 0;
    const vexa::GenerationResult result = CDependencyManager::GetSingletonPtr()->Regenerate(
        key, "", settled ? &look : nullptr, std::move(ahead));
    if (!result.dependencies.empty() && !result.preliminary)
        Store().SetTimeStamp(AbsolutePath(key), look.seconds);
    if (result.generated) {
        ++walk.statistics.regenerated;
        ChangeFigures(
            walk.statistics, before,
            {0, 0, static_cast<std::uint32_t>(result.dependencies.size()), result.failed});
    }
    Publish(walk);
}

void DependencyScanner::TellWaitingFile(std::string_view key) {
    if (!m_isWaited) return;
    const std::lock_guard lock(m_guard);
    m_waitingFile = WithSlashes(m_waitingFile);
    if (AbsolutePath(key) != m_waitingFile) return;
    vexa::vxThread<0>::Handle.post([] {
        CDependencyManager::GetSingleton().Emit<CDependencyManager::WaitingFileScanFinished>();
    });
}

// Forgets the files that are gone, now that those which named them are up to date.
bool DependencyScanner::Finish(ScanWalk& walk) {
    const vexa::StepGate::Pass pass(*m_gate);
    if (!CDependencyManager::GetSingletonPtr()->Forget(walk.vanished)) return Stop(walk);
    walk.statistics.removed = static_cast<std::int64_t>(walk.vanished.size());
    RememberInStep(walk);
    Store().SetMeta("last_scan", std::to_string(vexa::os::UnixTimeMs()));
    return true;
}
