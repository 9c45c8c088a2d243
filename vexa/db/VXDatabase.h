#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "vexa/Export.h"

struct MDB_txn;

namespace vexa {

// The tables of a database; each has keys of its own.
enum class DatabaseTable { Dependency, Catalogue };

// The engine's key-value database: a directory with one LMDB environment and two named tables,
// whose keys of 1 to 511 bytes are kept in the order of their bytes (that of memcmp).
//
// Environments are shared: however many VXDatabase objects of the process open one directory, LMDB
// sees it opened once (it forbids a second time), and it is closed when the last opening is.
// Writers are serialised across threads and processes by a lock file that is taken, with a
// deadline, before LMDB's own writer lock, which cannot be interrupted. Readers wait for nobody.
// Every commit is synced. Every operation may be called from any thread, except that a transaction
// belongs to the thread that began it: to others it is no live transaction, and they cannot end it.
// A child after fork must open the directory with an object of its own; what was open before fails.
class VX_API VXDatabase {
public:
    // Results of Get, Visit and Add beside 0.
    static constexpr int kNotFound = -30798;  // LMDB's MDB_NOTFOUND
    static constexpr int kFailed = -1;

    VXDatabase();
    ~VXDatabase();  // gives back every opening of this object
    VXDatabase(const VXDatabase&) = delete;
    VXDatabase& operator=(const VXDatabase&) = delete;

    // Opens the environment in an existing directory; counts when it is open already. `length` is
    // the number of characters of `directory`. False when it cannot be opened, or when this object
    // has another directory open; GetError says why. Opened `readOnly`, nothing is created and
    // TransBegin fails.
    bool OpenDatabase(const char* directory, unsigned length, bool readOnly);

    // Gives one opening back; does nothing when nothing is open. The last one of the process aborts
    // this thread's write transaction and all read transactions that are left (an operation that
    // another thread has begun is waited for, later ones fail), waits for the write transaction of
    // another thread, at most 30 seconds, and closes. When it cannot, because that one has not
    // ended or this thread is inside ForEach, the environment stays open in the process and the log
    // says so.
    void Close();
    bool IsOpen() const;

    // Why the last failing operation on this thread failed, for a person, naming the directory;
    // "" if none has.
    const std::string& GetError() const;
    // True when OpenDatabase failed because what is in the directory is no sound database.
    bool IsDamaged() const;

    // Begins a write transaction: waits for other writers, at most 30 seconds; null past that (the
    // error names the process that holds the lock) or when the database is not open, or when this
    // thread has a write transaction already.
    MDB_txn* TransBegin();
    // Keeps the right to write for the calling thread until EndWriting, so that nobody else, thread
    // or process, writes between its transactions. False as TransBegin is null. Does not nest; each
    // that was true is ended by the same thread, before Close.
    bool BeginWriting();
    void EndWriting();
    // Begins a read transaction on the state of the last commit; null when not open.
    MDB_txn* TransBeginRead();
    // Commits, synced. False on failure: nothing of the transaction is stored. Ends it either way,
    // unless it is not a live one of this thread. A read transaction is just ended.
    bool TransCommit(MDB_txn* transaction);
    // Ends a transaction without effect. One that has ended, or is of another thread, or null, is
    // ignored.
    void TransAbort(MDB_txn* transaction);

    // Reads a record. 0 when found, kNotFound when absent (`value` stays as it was), kFailed.
    int Get(const void* key, unsigned keyLength, std::string& value, MDB_txn* transaction,
            DatabaseTable table = DatabaseTable::Dependency);
    // Reads the value's first bytes, at most `length`, into a buffer, the rest of which stays.
    int Get(const void* key, unsigned keyLength, void* value, unsigned length, MDB_txn* transaction,
            DatabaseTable table = DatabaseTable::Dependency);
    // Hands a record's value to `read` where it lies; the view ends with the call. `read` may do
    // what the visitor of ForEach may.
    int Visit(const void* key, unsigned keyLength,
              const std::function<void(std::string_view value)>& read, MDB_txn* transaction,
              DatabaseTable table = DatabaseTable::Dependency);
    // Writes a record, over an existing one. 0 or kFailed.
    int Add(const void* key, unsigned keyLength, const void* value, std::size_t length,
            MDB_txn* transaction, DatabaseTable table = DatabaseTable::Dependency);
    // Writes a record behind all others of its table, which is quicker and leaves its pages full.
    // 0, or kFailed: its key must come after all that are there.
    int Append(const void* key, unsigned keyLength, const void* value, std::size_t length,
               MDB_txn* transaction, DatabaseTable table = DatabaseTable::Dependency);
    // Deletes a record; false when it is absent or on failure.
    bool Remove(const void* key, unsigned keyLength, MDB_txn* transaction,
                DatabaseTable table = DatabaseTable::Dependency);

    // Calls `visit` for the records from key `from` on, in key order, until it returns false. The
    // views end with the call. `visit` may read, but not write or end the transaction, nor open or
    // close a database. False on failure.
    bool ForEach(DatabaseTable table, std::string_view from,
                 const std::function<bool(std::string_view key, std::string_view value)>& visit,
                 MDB_txn* transaction);

    // Reads `count` records, the key of each as `keyAt` gives it: quick when they are in key order,
    // since each is looked for where the one before was found. Calls `take` for those that are
    // there; the rest as ForEach.
    bool GetEach(DatabaseTable table, std::size_t count,
                 const std::function<std::string_view(std::size_t)>& keyAt,
                 const std::function<void(std::size_t, std::string_view value)>& take,
                 MDB_txn* transaction);

    // The number of the last change that the transaction sees: each commit that changes anything,
    // by whatever process, counts one up. 0 on failure.
    std::uint64_t LastChange(MDB_txn* transaction);

    // Deletes every record of a table.
    bool Clear(DatabaseTable table, MDB_txn* transaction);

private:
    int Put(const void* key, unsigned keyLength, const void* value, std::size_t length,
            MDB_txn* transaction, DatabaseTable table, unsigned flags);

    struct State;
    std::unique_ptr<State> m_state;
};

// The right to write for the life of the object (VXDatabase::BeginWriting).
class WritingTurn {
public:
    explicit WritingTurn(VXDatabase& database)
        : m_database(database), m_begun(database.BeginWriting()) {}
    ~WritingTurn() {
        if (m_begun) m_database.EndWriting();
    }
    WritingTurn(const WritingTurn&) = delete;
    WritingTurn& operator=(const WritingTurn&) = delete;

    explicit operator bool() const { return m_begun; }

private:
    VXDatabase& m_database;
    const bool m_begun;
};

}  // namespace vexa
