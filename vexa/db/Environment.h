#pragma once

#include <lmdb.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "vexa/db/LockFile.h"
#include "vexa/db/Platform.h"
#include "vexa/db/Transaction.h"
#include "vexa/db/VXDatabase.h"
#include "vexa/db/WriterLock.h"

namespace vexa {

// Why an environment did not open.
struct OpenError {
    std::string text;  // for a person; begins with the directory
    bool damaged = false;
};

// One LMDB environment with its lock file and transactions, shared by all databases of the process
// that are open on its directory. The object outlives the closing, and may be opened on the same
// directory again, so that whoever still holds a pointer to it can ask.
class Environment {
public:
    explicit Environment(std::string directory);

    // Open and Close are called under the mutex of the registry, when it is closed or open.
    bool Open(bool readOnly, OpenError& error);
    // Opens the tables, unless that is done. Apart from Open, since making them may have to wait
    // for a writer, and that must not hold up the openings of other directories.
    bool OpenTables(OpenError& error);
    // Ends the read transactions that are left, wherever no operation uses them. Other threads and
    // this one must have no write transaction.
    void Close();

    const std::string& Directory() const { return m_directory; }
    bool IsOpen() const { return m_open; }
    bool IsReadOnly() const { return m_readOnly; }
    // True in a process that was forked off the one that opened it: nothing of it may be used.
    bool IsForeign() const { return m_forkDepth.load(std::memory_order_relaxed) != ForkDepth(); }
    // True when the file open here is the one in `directory`: LMDB forbids a second opening.
    bool IsOpenOn(const std::string& directory) const;

    // Null on failure, with the error of the thread set.
    MDB_txn* BeginRead();
    MDB_txn* BeginWrite();
    // Keeps the writer lock for the calling thread across the transactions that it begins until
    // EndWriting. False on failure, with the error of the thread set.
    bool BeginWriting();
    void EndWriting();
    // Both end a transaction of the calling thread that is open here.
    bool Commit(Transaction& transaction);
    void Abort(Transaction& transaction);

    MDB_dbi Table(DatabaseTable table) const { return m_tables[static_cast<std::size_t>(table)]; }
    WriterLock& Lock() { return m_writerLock; }

private:
    std::string FilePath(const char* name) const { return m_directory + "/" + name; }

    // The steps of Open, in EnvironmentOpening.cpp.
    bool OpenLockFile(OpenError& error);
    bool OpenData(OpenError& error);
    bool ExamineData(OpenError& error);
    bool ReserveReaderTable(OpenError& error);
    bool OpenLargestMap(OpenError& error);
    int OpenMap(std::uint64_t size);
    int OpenTables(unsigned transactionFlags, unsigned tableFlags);
    bool Failed(OpenError& error, const std::string& why) const;
    bool Failed(OpenError& error, const char* what, int code) const;
    void CloseMap();

    Transaction& TakeReader();
    void GiveBack(Transaction& reader);
    int Renew(Transaction& reader);
    int RenewOrBegin(Transaction& reader);
    bool IsOvertaken(MDB_txn* transaction) const;
    bool LockWriter();
    void UnlockWriter();
    void EndWriter();

    const std::string m_directory;

    // Constant while open.
    MDB_env* m_environment = nullptr;
    bool m_readOnly = false;
    std::atomic<unsigned> m_forkDepth = 0;
    std::atomic<bool> m_open = false;

    std::mutex m_tablesMutex;
    std::array<MDB_dbi, 2> m_tables = {};  // constant once m_hasTables is set
    std::atomic<bool> m_hasTables = false;

    LockFile m_lockFile;
    WriterLock m_writerLock{m_lockFile};
    Transaction m_writer{*this, true};  // used by the thread that holds m_writerLock
    // The thread between BeginWriting and EndWriting; only a thread itself sets its own id.
    std::atomic<std::thread::id> m_keeper;

    std::mutex m_readersMutex;
    std::deque<Transaction> m_readers;  // all
    std::vector<Transaction*> m_idle;   // those that no thread has begun
};

}  // namespace vexa
