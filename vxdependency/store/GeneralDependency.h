#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vexa/Export.h"
#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/Dependency.h"

namespace vexa::vxdependency {

class EntryList;
class StoreFill;
class WriteBatch;
struct FilledFiles;
enum class RecordOperation : char;

// The dependency store: which resource refers to which, the reverse, and when each was last read.
//
// Three kinds of record share one table and are told apart by the text that their key is made from;
// the key is the text's 32-bit string id (XXH32), 4 bytes in native order:
//
//   text   record                value
//   P      forward list of P     "a/b.tga#c/d.mtl#": each entry followed by "#"
//   P#     inverse list of P     likewise
//   P!     time stamp of P       8 bytes, signed, native order
//
// 4-byte keys keep the table small (a million files have three million records); the price is
// that two texts of one id share a record, about ten pairs at 100,000 files. GraphReader hides
// what that mixes up. The store compares entries byte for byte and normalises no path.
//
// Each public operation is one transaction. Any thread may call any operation: readers wait for
// nobody, writers for one another (for another process 30 seconds at most, then they fail).
// Nothing is logged, except by Open and for values that are no list; results tell of failure.
//
// Between BeginBatch and EndBatch the operations of the thread that began the batch go to a log in
// memory and reach the table in large sorted transactions; see WriteBatch.
class VX_API GeneralDependency : public Dependency<std::string, std::string> {
public:
    using List = std::vector<std::string>;

    // Bits of `mode`.
    static constexpr signed char kForward = 1;
    static constexpr signed char kInverse = 2;
    static constexpr signed char kBoth = 3;

    static const unsigned int size = 8388608;

    // The store of the process; made by the first call, destroyed at process exit.
    static GeneralDependency* Instance();

    // Opens "temp/gen_dep" under the working directory, made if need be. A store that is damaged or
    // of another layout is moved aside, with the reason logged, and a new one begun. False when
    // there is no store then; GetOpenError says why. Openings count; each is given back by Close.
    bool Open() override;
    // Flushes a batch and gives one opening back.
    void Close();
    bool IsOpen() const;
    const std::string& GetOpenError() const;

    // Adds values to the forward list of `key` (bit 1) and `key` to the inverse lists of the values
    // (bit 2); entries that are there already stay single. The forward record is written in any
    // case, even empty. False, with nothing changed, when the database fails.
    bool AddDependency(const std::string& key, const std::string& value, signed char mode);
    bool AddDependency(const std::string& key, const List& values, signed char mode);

    // As AddDependency, from an empty forward list. Entries of `key` in inverse lists of values
    // that it no longer has stay there.
    bool SetDependency(const std::string& key, const List& values, signed char mode);

    // Takes values out of the forward list of `key` (bit 1) and `key` out of their inverse lists
    // (bit 2). Of each, the first place where the text stands counts, and only if an entry begins
    // there: "b" is not found in "ab#b#". A record that gets empty is deleted. False, with nothing
    // changed, when `key` has no forward record.
    bool RemoveDependency(const std::string& key, const std::string& value, signed char mode);
    bool RemoveDependency(const std::string& key, const List& values, signed char mode);
    // The same for all values of the forward list.
    bool RemoveDependency(const std::string& key, signed char mode);

    // Takes `value` out of the inverse list of `key`, under the same rule.
    bool RemoveInverseDependency(const std::string& key, std::string value);

    // Takes the entry `value` out of the inverse list of `key` wherever it stands. True when it is
    // not there afterwards.
    bool EraseInverseEntry(const std::string& key, const std::string& value);

    // Deletes the forward record of `key`; true when there is none afterwards.
    bool EraseForward(const std::string& key);

    // Appends the entries of a list to `out`; true also when there is no record.
    bool GetDependency(const std::string& key, List& out);
    bool GetInverseDependency(const std::string& key, List& out);
    bool GetAllDependency(const std::string& key, List& dependencies, List& dependents);

    // What is recorded of the reading of a file.
    struct FileRecord {
        std::optional<std::int64_t> stamp;
        std::optional<CatalogueEntry> entry;
    };
    // Appends a list of a file, if `wanted` says so of the stamp of `path` and the catalogue entry
    // of `key`; all of one state of the store. True when it did. `wanted` must not call the store.
    bool GetDependencyIf(const std::string& key, const std::string& path, bool inverse,
                         const std::function<bool(const FileRecord&)>& wanted, List& out);

    // Carries the forward list from one key to another, with its inverse entries. False, with
    // nothing changed, when there is none.
    bool RenameKey(const std::string& oldKey, const std::string& newKey);
    // Takes one value out of the list of `key` and adds another, with their inverse entries.
    bool RenameValue(const std::string& key, const std::string& oldValue,
                     const std::string& newValue);

    // The time stamp of a path, seconds since 1970-01-01 UTC. A missing one leaves `out` as it was
    // and is true. The path is taken as it stands; the writer makes "\" to "/" first.
    bool GetTimeStamp(const std::string& path, std::int64_t& out);
    // The same for many paths at once, of one state of the store: calls `take` for those that have
    // one, in no order.
    bool GetTimeStamps(std::size_t count,
                       const std::function<std::string_view(std::size_t)>& pathAt,
                       const std::function<void(std::size_t, std::int64_t)>& take);
    // Whether there is a record under the id of the path's stamp, be it that of another text.
    bool HasStampRecord(const std::string& path);
    bool SetTimeStamp(const std::string& path, std::int64_t time);
    // Deletes the time stamp; true when there is none afterwards.
    bool EraseTimeStamp(const std::string& path);

    // The catalogue of known files, by key. Find: false when unknown.
    bool FindFile(const std::string& key, CatalogueEntry& out);
    bool SetFile(const std::string& key, const CatalogueEntry& entry);
    bool EraseFile(const std::string& key);
    // Visits the known files whose key begins with `prefix`, in byte order, until `visit` returns
    // false. The operation sees one state of the store (without a batch's pending work, which is
    // flushed first when the calling thread has one). `visit` must not call the store.
    bool ForEachFile(const std::string& prefix,
                     const std::function<bool(std::string_view, const CatalogueEntry&)>& visit);
    // What the reading of a file told beside its list. Set replaces what was kept; empty findings
    // leave no record. Get: false when there are none.
    bool SetFindings(const std::string& key, const Findings& findings);
    bool GetFindings(const std::string& key, Findings& out);
    // Visits the findings of the files whose key begins with `prefix`, as ForEachFile does.
    bool ForEachFindings(const std::string& prefix,
                         const std::function<bool(std::string_view, const Findings&)>& visit);
    // Appends the files that await one of these paths; a file may come several times.
    bool FindAwaiting(const List& paths, List& out);

    // A named text of the store as a whole; false when it has none.
    bool GetMeta(const std::string& name, std::string& out);
    bool SetMeta(const std::string& name, const std::string& text);

    // Counts one up with each commit that changes the store, by whatever process. 0 on failure.
    std::uint64_t LastChange();

    // Forgets everything but the layout version.
    bool Clear();

    // Begins a batch of the calling thread. Batches nest, and each thread may have one; nobody
    // waits for another's to end. Before a thread writes, in a batch or not, the work that
    // another's batch still holds in memory is flushed, so all writes take effect in the order of
    // their calls.
    void BeginBatch();
    // A point between two files: flushes when it is time to. False when a flush failed; the work
    // since the flush before is dropped then, and further writes fail until this has been told.
    bool BatchCheckpoint();
    // Flushes what the batch of any thread holds; also false as above.
    bool FlushBatch();
    // FlushBatch, if the batch is the calling thread's own. Done before whole tables are read.
    bool FlushOwnBatch();
    // FlushBatch, unless the batch is the calling thread's own. Done before a thread reads what it
    // is about to change.
    bool FlushOtherBatch();
    // The same for a thread that is about to change this file only, whose state on the disk this
    // is: a fill that will be right about it need not be waited for.
    bool FlushOtherBatch(const std::string& key, const CatalogueEntry& state);
    // Ends the batch with a flush.
    bool EndBatch();
    // Makes a fill part of the calling thread's batch (see WriteBatch::OpenFill); any thread may
    // add to it. Close is false when what it held was lost.
    bool OpenFill(StoreFill& fill);
    void AddToFill(FilledFiles run);
    bool CloseFill();
    // Empties the store when a process was killed while it wrote a fill; waits for one that is at
    // it. `dropped` tells whether it was so. False on failure.
    bool DropHalfFill(bool& dropped);
    // Why the last write that failed on this thread failed, for a person, naming the directory.
    const std::string& GetWriteError() const { return m_database.GetError(); }

    // The database, for readers of whole tables.
    VXDatabase& Database() { return m_database; }

private:
    GeneralDependency();
    ~GeneralDependency() override;

    bool IsLogged(const std::string& key, const List& values, signed char mode) const;
    bool Change(const std::string& text, RecordOperation operation, std::string_view value);
    bool WriteCatalogue(const std::string& recordKey, std::optional<std::string> value);
    bool ForEachCatalogueRecord(
        const std::string& prefix,
        const std::function<bool(std::string_view, std::string_view)>& visit);
    int ReadText(const std::string& text, std::string& value);
    int ReadCatalogue(const std::string& recordKey, std::string& value);
    bool RenameKeyInBatch(const std::string& oldKey, const std::string& newKey);

    // The steps of the public operations, in the caller's transaction; false at once when it is
    // null. Add and Set abort it when the database fails.
    bool Get(const std::string& key, List& out, MDB_txn* transaction);
    bool Add(const std::string& key, const List& values, MDB_txn* transaction, signed char mode);
    bool Set(const std::string& key, const List& values, MDB_txn* transaction, signed char mode);
    bool Remove(const std::string& key, const List& values, MDB_txn* transaction, signed char mode);
    bool Merge(const std::string& key, const List& values, EntryList& forward, MDB_txn* transaction,
               signed char mode);
    bool Move(const std::string& oldKey, const std::string& newKey, MDB_txn* transaction);

    const std::string m_directory;  // relative to the working directory
    std::string m_openError;
    std::unique_ptr<WriteBatch> m_batch;
};

// A batch for the life of the object.
class StoreBatch {
public:
    explicit StoreBatch(GeneralDependency* store) : m_store(store) { m_store->BeginBatch(); }
    ~StoreBatch() { End(); }
    StoreBatch(const StoreBatch&) = delete;
    StoreBatch& operator=(const StoreBatch&) = delete;

    // Ends the batch early; false when its last flush failed.
    bool End() {
        GeneralDependency* const store = std::exchange(m_store, nullptr);
        return !store || store->EndBatch();
    }

private:
    GeneralDependency* m_store;
};

}  // namespace vexa::vxdependency
