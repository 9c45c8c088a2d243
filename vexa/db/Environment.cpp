#include "vexa/db/Environment.h"

#include <cerrno>
#include <utility>

#include "vexa/db/DatabaseError.h"

namespace vexa {
namespace {
constexpr int kClosedMeanwhile = EBADF;
}

Environment::Environment(std::string directory) : m_directory(std::move(directory)) {}

bool Environment::IsOpenOn(const std::string& directory) const {
    mdb_filehandle_t file = {};
    return m_open && mdb_env_get_fd(m_environment, &file) == 0 &&
           IsSameFile(file, directory + "/data.mdb");
}

void Environment::Close() {
    m_open = false;
    m_hasTables = false;
    const std::lock_guard lock(m_readersMutex);
    for (Transaction& reader : m_readers) {
        const std::lock_guard use(reader.mutex);
        mdb_txn_abort(reader.transaction);  // ignores null
        reader.transaction = nullptr;
    }
    CloseMap();
    m_lockFile.Close();
}

void Environment::CloseMap() {
    mdb_env_close(m_environment);  // ignores null
    m_environment = nullptr;
}

Transaction& Environment::TakeReader() {
    const std::lock_guard lock(m_readersMutex);
    if (m_idle.empty()) return m_readers.emplace_back(*this, false);
    Transaction& reader = *m_idle.back();
    m_idle.pop_back();
    return reader;
}

void Environment::GiveBack(Transaction& reader) {
    const std::lock_guard lock(m_readersMutex);
    m_idle.push_back(&reader);
}

int Environment::RenewOrBegin(Transaction& reader) {
    if (reader.transaction != nullptr) return mdb_txn_renew(reader.transaction);
    return mdb_txn_begin(m_environment, nullptr, MDB_RDONLY, &reader.transaction);
}

// LMDB reads the number N of the last commit first and the meta page of N afterwards. If writers
// are quicker, commit N + 2 has that page already, while others are still told of N + 1: the
// thread's next read would go back in time.
bool Environment::IsOvertaken(MDB_txn* transaction) const {
    MDB_envinfo info = {};
    mdb_env_info(m_environment, &info);
    return info.me_last_txnid > mdb_txn_id(transaction) + 1;
}

int Environment::Renew(Transaction& reader) {
    int code = RenewOrBegin(reader);
    int cleared = 0;
    // The table of readers may be full of what killed processes left.
    if (code == MDB_READERS_FULL && mdb_reader_check(m_environment, &cleared) == 0 && cleared > 0)
        code = RenewOrBegin(reader);
    while (code == 0 && IsOvertaken(reader.transaction)) {
        mdb_txn_reset(reader.transaction);
        code = mdb_txn_renew(reader.transaction);
    }
    return code;
}

MDB_txn* Environment::BeginRead() {
    Transaction& reader = TakeReader();
    std::unique_lock use(reader.mutex);
    const int code = m_open ? Renew(reader) : kClosedMeanwhile;
    MDB_txn* const handle = reader.transaction;
    use.unlock();
    if (code != 0) {
        GiveBack(reader);
        SetDatabaseError(m_directory, "cannot begin a read transaction", code);
        return nullptr;
    }
    LinkTransaction(reader, handle);
    return handle;
}

MDB_txn* Environment::BeginWrite() {
    if (FindWriter(*this) != nullptr) {
        SetDatabaseError(m_directory + ": this thread has a write transaction already");
        return nullptr;
    }
    if (!LockWriter()) return nullptr;
    const int code =
        m_open ? mdb_txn_begin(m_environment, nullptr, 0, &m_writer.transaction) : kClosedMeanwhile;
    if (code != 0) {
        m_writer.transaction = nullptr;
        UnlockWriter();
        SetDatabaseError(m_directory, "cannot begin a write transaction", code);
        return nullptr;
    }
    LinkTransaction(m_writer, m_writer.transaction);
    return m_writer.transaction;
}

void Environment::EndWriter() {
    m_writer.transaction = nullptr;
    UnlinkTransaction(m_writer);
    UnlockWriter();
}

bool Environment::BeginWriting() {
    if (!LockWriter()) return false;
    m_keeper = std::this_thread::get_id();
    return true;
}

void Environment::EndWriting() {
    m_keeper = std::thread::id();
    UnlockWriter();
}

bool Environment::LockWriter() {
    std::string why;
    if (m_keeper.load() == std::this_thread::get_id() || m_writerLock.Lock(why)) return true;
    SetDatabaseError(m_directory + ": " + why);
    return false;
}

void Environment::UnlockWriter() {
    if (m_keeper.load() != std::this_thread::get_id()) m_writerLock.Unlock();
}

bool Environment::Commit(Transaction& transaction) {
    if (!transaction.writes) {
        Abort(transaction);  // a read transaction has nothing to commit
        return true;
    }
    const int code = mdb_txn_commit(m_writer.transaction);
    EndWriter();
    if (code != 0) SetDatabaseError(m_directory, "cannot commit", code);
    return code == 0;
}

void Environment::Abort(Transaction& transaction) {
    if (transaction.writes) {
        mdb_txn_abort(m_writer.transaction);
        EndWriter();
        return;
    }
    UnlinkTransaction(transaction);
    {
        const std::lock_guard use(transaction.mutex);
        if (transaction.transaction != nullptr) mdb_txn_reset(transaction.transaction);
    }
    GiveBack(transaction);
}

}  // namespace vexa
