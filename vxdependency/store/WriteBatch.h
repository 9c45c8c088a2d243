#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "vexa/db/VXDatabase.h"
#include "vxdependency/store/BatchLog.h"
#include "vxdependency/store/RecordId.h"
#include "vxdependency/store/RecordState.h"
#include "vxdependency/store/StoreFill.h"

namespace vexa::vxdependency {

// The log of the writes that a batch has made and the table does not hold yet.
//
// Writing one by one is a synced transaction each, and an inverse list of 50,000 entries is read
// and written 50,000 times, a quadratic amount of bytes. In a batch the operations on lists are
// logged by record, in the order of their calls; a flush replays each record's on the value that
// the table holds then, in one transaction and in the order of the records in the table. The
// resulting bytes are those of the one-by-one way.
//
// Each thread may have a batch, but the log holds the work of one thread at a time: before another
// thread writes, in a batch or not, the log is flushed. So writes reach the table in the order of
// their calls, and no thread waits for the end of another's batch. A fill is not in this order: it
// is flushed by who asks for it (FlushOther), since writing it may take seconds.
//
// A flush that fails drops the log. The thread whose work that was is told by its next Checkpoint,
// Flush or End; until then its writes fail and are not logged, so that the second half of what
// belongs together (a list and its stamp) is not stored without the first.
//
// All operations may be called from any thread. Lock order: the mutex here, then the database's
// writer lock.
class WriteBatch {
public:
    using Clock = std::chrono::steady_clock;
    using List = std::vector<std::string>;

    // When Checkpoint flushes. The memory is bounded because LMDB keeps about twice as much in
    // dirty pages while the log is written: with 24 MB a scan of 120,000 files stays below a
    // kilobyte a file, with 64 MB it needed 1.3.
    struct Limits {
        Clock::duration interval = std::chrono::seconds(1);  // or ten times the last flush
        std::size_t bytes = std::size_t{24} << 20;           // memory of the log, about
        std::function<Clock::time_point()> now = Clock::now;
        // Of a fill, which costs the more the more often it is written.
        Clock::duration fillInterval = std::chrono::seconds(30);
        std::size_t fillBytes = std::size_t{256} << 20;
    };

    explicit WriteBatch(VXDatabase& database) : WriteBatch(database, Limits()) {}
    WriteBatch(VXDatabase& database, Limits limits);
    WriteBatch(const WriteBatch&) = delete;
    WriteBatch& operator=(const WriteBatch&) = delete;

    // Begins a batch of the calling thread, or one more level of it.
    void Begin();
    // Ends a level; the outermost with a flush.
    bool End();
    // Flushes when it is time to; true without a batch.
    bool Checkpoint();
    // Flushes the log, whosever work it holds.
    bool Flush();
    // Flushes the log when it holds the calling thread's work, or another's.
    bool FlushOwn();
    bool FlushOther();
    // The same for a thread that is about to change this file only, as it is on the disk now: a
    // fill that holds just this state of it can stay, and leaves it out (see StoreFill::Write).
    bool FlushOther(const std::string& key, const CatalogueEntry& state);

    // Whether the calling thread has a batch.
    bool IsInBatch() const;
    // Whether the log may hold work of the calling thread, which its reads must see.
    bool HoldsOwnWork() const { return m_writer.load() == std::this_thread::get_id(); }

    // For operations of several steps.
    std::unique_lock<std::recursive_mutex> Lock() const { return std::unique_lock(m_mutex); }

    // Runs a step in a transaction of its own, behind what is logged; commits when it is true.
    bool WriteDirectly(const std::function<bool(MDB_txn*)>& step);

    // Writes of the calling thread's batch; the semantics are those of GeneralDependency. False
    // when they were not logged. In Add, Set and Remove no value's inverse record may be the
    // forward record of `key`.
    bool Write(RecordId record, RecordOperation operation, std::string_view text = {});
    bool Add(const std::string& key, const List& values, signed char mode);
    bool Set(const std::string& key, const List& values, signed char mode);
    bool Remove(const std::string& key, const List& values, signed char mode);
    // Sets a record of the catalogue, or deletes it.
    bool WriteCatalogue(std::string_view recordKey, std::optional<std::string_view> value);
    // Deletes all records but the layout version.
    bool Clear();

    // Makes a fill part of the calling thread's batch, which writes nothing else meanwhile: it is
    // written by Flush and FlushOther, when it grows too large or old (Checkpoint), and by
    // CloseFill. One thread at a time. False when the batch
    // must not write.
    bool OpenFill(StoreFill& fill);
    // Adds to the open fill, on any thread.
    void AddToFill(FilledFiles run);
    // False when what the fill held was lost.
    bool CloseFill();

    // Records as the calling thread sees them: the results are those of VXDatabase::Get.
    int Read(RecordId record, std::string& value);
    int ReadCatalogue(const std::string& recordKey, std::string& value);

private:
    // A thread's batch.
    struct Member {
        int depth = 0;
        bool lost = false;  // work of it was dropped, and it has not been told
    };
    bool BecomeWriter();
    bool TellLoss();
    bool IsDue() const;
    bool IsFillDue() const;
    void Note(RecordId id, RecordOperation operation, std::string_view text);
    void NoteList(const std::string& key, const List& values, signed char mode,
                  RecordOperation operation);
    RecordState* StateOf(RecordId id);

    bool IsEmpty() const { return m_log.RecordCount() == 0 && !m_cleared; }
    bool HoldsFill() const { return m_fill != nullptr && !m_fill->IsEmpty(); }
    bool HoldsOwnFill() const { return HoldsFill() && m_filler == std::this_thread::get_id(); }
    bool FlushOtherLog();
    bool FlushAll();
    bool FlushLog();
    bool FlushFill();
    bool WriteLog(MDB_txn* transaction);
    void ReportLoss(std::thread::id loser, std::size_t records);
    void DropLog();

    VXDatabase& m_database;
    const Limits m_limits;

    mutable std::recursive_mutex m_mutex;
    // Whose work the log holds. Only a thread itself sets its own id, under the mutex.
    std::atomic<std::thread::id> m_writer;

    // Guarded by the mutex.
    std::map<std::thread::id, Member> m_members;
    BatchLog m_log;
    // The values, with the log applied, of the records that somebody asked for.
    std::unordered_map<RecordId, RecordState> m_states;
    std::size_t m_stateBytes = 0;
    bool m_cleared = false;  // before all that is logged
    StoreFill* m_fill = nullptr;
    std::thread::id m_filler;
    Clock::time_point m_lastFill;
    Clock::duration m_lastFillDuration{};
    Clock::time_point m_lastFlush;
    Clock::duration m_lastDuration{};
};

}  // namespace vexa::vxdependency
