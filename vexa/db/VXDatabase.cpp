#include "vexa/db/VXDatabase.h"

#include <lmdb.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

#include "vexa/db/DatabaseError.h"
#include "vexa/db/EnvironmentRegistry.h"

namespace vexa {

static_assert(VXDatabase::kNotFound == MDB_NOTFOUND);

struct VXDatabase::State {
    std::atomic<Environment*> environment = nullptr;  // null when closed
    std::atomic<bool> readOnly = false;
    std::atomic<bool> damaged = false;

    std::mutex mutex;  // of opening and closing
    unsigned openings = 0;

    // The open environment; null, as an error of the thread, when there is none to use.
    Environment* Usable() const {
        Environment* const open = environment;
        if (open != nullptr && !open->IsForeign()) return open;
        SetDatabaseError(open == nullptr
                             ? "no database is open"
                             : open->Directory() + ": was opened before the process forked");
        return nullptr;
    }

    // Likewise, when it may be written to.
    Environment* Writable() const {
        Environment* const open = Usable();
        if (open == nullptr || !readOnly) return open;
        SetDatabaseError(open->Directory() + ": is open for reading only");
        return nullptr;
    }
};

namespace {

MDB_val Bytes(const void* data, std::size_t size) {
    return {size, const_cast<void*>(data)};
}

std::string_view View(const MDB_val& bytes) {
    return {static_cast<const char*>(bytes.mv_data), bytes.mv_size};
}

bool NotLive() {
    SetDatabaseError("not a database transaction that this thread has begun and not ended");
    return false;
}

bool Succeeded(const TransactionUse& use, const char* what, int code) {
    if (code == 0) return true;
    SetDatabaseError(use.Of().Directory(), what, code);
    return false;
}

// Hands the value of a record to `take` while the transaction keeps it in place.
template <typename Take>
int Read(const void* key, unsigned keyLength, MDB_txn* transaction, DatabaseTable table,
         const Take& take) {
    const TransactionUse use(transaction);
    if (!use) return NotLive(), VXDatabase::kFailed;
    MDB_val name = Bytes(key, keyLength);
    MDB_val value = {};
    const int code = mdb_get(use.Handle(), use.Of().Table(table), &name, &value);
    if (code == MDB_NOTFOUND) return VXDatabase::kNotFound;
    if (!Succeeded(use, "cannot read a record", code)) return VXDatabase::kFailed;
    take(View(value));
    return 0;
}

// The transaction that a thread wants to end; null when it cannot, which is an error of the thread
// only for one that is live.
Transaction* ToEnd(MDB_txn* handle) {
    Transaction* const own = FindTransaction(handle);
    if (own == nullptr || own->environment.IsForeign()) return nullptr;
    if (own->usesOfThread == 0) return own;
    SetDatabaseError(own->environment.Directory() + ": the transaction is being read from");
    return nullptr;
}

class Cursor {
public:
    Cursor(const TransactionUse& use, DatabaseTable table)
        : m_code(mdb_cursor_open(use.Handle(), use.Of().Table(table), &m_cursor)) {}
    ~Cursor() {
        if (m_cursor != nullptr) mdb_cursor_close(m_cursor);
    }
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    int OpenCode() const { return m_code; }
    int Get(MDB_val& key, MDB_val& value, MDB_cursor_op operation) {
        return mdb_cursor_get(m_cursor, &key, &value, operation);
    }

private:
    MDB_cursor* m_cursor = nullptr;
    int m_code;
};

}  // namespace

VXDatabase::VXDatabase() : m_state(std::make_unique<State>()) {}

VXDatabase::~VXDatabase() {
    while (IsOpen()) Close();
}

bool VXDatabase::OpenDatabase(const char* directory, unsigned length, bool readOnly) {
    const std::string path =
        directory == nullptr ? "" : std::string(directory, strnlen(directory, length));
    EnvironmentRegistry& registry = EnvironmentRegistry::Instance();
    OpenError error;
    Environment* const opened = registry.Acquire(path, readOnly, error);
    m_state->damaged = error.damaged;
    if (opened == nullptr) {
        SetDatabaseError(error.text);
        return false;
    }
    {
        const std::lock_guard lock(m_state->mutex);
        Environment* const before = m_state->environment;
        if (before == nullptr || before == opened) {
            m_state->readOnly = readOnly && (before == nullptr || m_state->readOnly);
            m_state->environment = opened;
            ++m_state->openings;
            return true;
        }
        SetDatabaseError(path + ": cannot be opened while " + before->Directory() + " is open");
    }
    registry.Release(*opened);
    return false;
}

void VXDatabase::Close() {
    if (!IsOpen()) return;
    Environment* environment = nullptr;
    {
        const std::lock_guard lock(m_state->mutex);
        if (m_state->openings == 0) return;
        environment = m_state->environment;
        if (--m_state->openings == 0) m_state->environment = nullptr;
    }
    EnvironmentRegistry::Instance().Release(*environment);
}

bool VXDatabase::IsOpen() const {
    const Environment* const environment = m_state->environment;
    return environment != nullptr && !environment->IsForeign();
}

const std::string& VXDatabase::GetError() const {
    return LastDatabaseError();
}

bool VXDatabase::IsDamaged() const {
    return m_state->damaged;
}

MDB_txn* VXDatabase::TransBegin() {
    Environment* const environment = m_state->Writable();
    return environment == nullptr ? nullptr : environment->BeginWrite();
}

bool VXDatabase::BeginWriting() {
    Environment* const environment = m_state->Writable();
    return environment != nullptr && environment->BeginWriting();
}

void VXDatabase::EndWriting() {
    if (Environment* const environment = m_state->environment) environment->EndWriting();
}

MDB_txn* VXDatabase::TransBeginRead() {
    Environment* const environment = m_state->Usable();
    return environment == nullptr ? nullptr : environment->BeginRead();
}

bool VXDatabase::TransCommit(MDB_txn* transaction) {
    if (FindTransaction(transaction) == nullptr) return NotLive();
    Transaction* const own = ToEnd(transaction);
    return own != nullptr && own->environment.Commit(*own);
}

void VXDatabase::TransAbort(MDB_txn* transaction) {
    if (Transaction* const own = ToEnd(transaction)) own->environment.Abort(*own);
}

int VXDatabase::Get(const void* key, unsigned keyLength, std::string& value, MDB_txn* transaction,
                    DatabaseTable table) {
    return Read(key, keyLength, transaction, table,
                [&](std::string_view found) { value.assign(found); });
}

int VXDatabase::Get(const void* key, unsigned keyLength, void* value, unsigned length,
                    MDB_txn* transaction, DatabaseTable table) {
    return Read(key, keyLength, transaction, table, [&](std::string_view found) {
        std::copy_n(found.data(), std::min<std::size_t>(found.size(), length),
                    static_cast<char*>(value));
    });
}

int VXDatabase::Visit(const void* key, unsigned keyLength,
                      const std::function<void(std::string_view)>& read, MDB_txn* transaction,
                      DatabaseTable table) {
    return Read(key, keyLength, transaction, table, read);
}

int VXDatabase::Add(const void* key, unsigned keyLength, const void* value, std::size_t length,
                    MDB_txn* transaction, DatabaseTable table) {
    return Put(key, keyLength, value, length, transaction, table, 0);
}

int VXDatabase::Append(const void* key, unsigned keyLength, const void* value, std::size_t length,
                       MDB_txn* transaction, DatabaseTable table) {
    return Put(key, keyLength, value, length, transaction, table, MDB_APPEND);
}

int VXDatabase::Put(const void* key, unsigned keyLength, const void* value, std::size_t length,
                    MDB_txn* transaction, DatabaseTable table, unsigned flags) {
    const TransactionUse use(transaction);
    if (!use) return NotLive(), kFailed;
    MDB_val name = Bytes(key, keyLength);
    MDB_val bytes = Bytes(value, length);
    const int code = mdb_put(use.Handle(), use.Of().Table(table), &name, &bytes, flags);
    return Succeeded(use, "cannot write a record", code) ? 0 : kFailed;
}

bool VXDatabase::Remove(const void* key, unsigned keyLength, MDB_txn* transaction,
                        DatabaseTable table) {
    const TransactionUse use(transaction);
    if (!use) return NotLive();
    MDB_val name = Bytes(key, keyLength);
    const int code = mdb_del(use.Handle(), use.Of().Table(table), &name, nullptr);
    return Succeeded(use, "cannot delete a record", code);
}

bool VXDatabase::ForEach(
    DatabaseTable table, std::string_view from,
    const std::function<bool(std::string_view key, std::string_view value)>& visit,
    MDB_txn* transaction) {
    const TransactionUse use(transaction);
    if (!use) return NotLive();
    Cursor cursor(use, table);
    MDB_val key = Bytes(from.data(), from.size());
    MDB_val value = {};
    int code = cursor.OpenCode();
    if (code == 0) code = cursor.Get(key, value, from.empty() ? MDB_FIRST : MDB_SET_RANGE);
    while (code == 0 && visit(View(key), View(value))) code = cursor.Get(key, value, MDB_NEXT);
    return code == MDB_NOTFOUND || Succeeded(use, "cannot read the records", code);
}

bool VXDatabase::GetEach(DatabaseTable table, std::size_t count,
                         const std::function<std::string_view(std::size_t)>& keyAt,
                         const std::function<void(std::size_t, std::string_view value)>& take,
                         MDB_txn* transaction) {
    const TransactionUse use(transaction);
    if (!use) return NotLive();
    Cursor cursor(use, table);
    int code = cursor.OpenCode();
    for (std::size_t i = 0; i < count && (code == 0 || code == MDB_NOTFOUND); ++i) {
        const std::string_view wanted = keyAt(i);
        MDB_val key = Bytes(wanted.data(), wanted.size());
        MDB_val value = {};
        code = cursor.Get(key, value, MDB_SET);
        if (code == 0) take(i, View(value));
    }
    return code == MDB_NOTFOUND || Succeeded(use, "cannot read the records", code);
}

std::uint64_t VXDatabase::LastChange(MDB_txn* transaction) {
    const TransactionUse use(transaction);
    return use ? mdb_txn_id(use.Handle()) : (NotLive(), 0);
}

bool VXDatabase::Clear(DatabaseTable table, MDB_txn* transaction) {
    const TransactionUse use(transaction);
    if (!use) return NotLive();
    return Succeeded(use, "cannot clear a table", mdb_drop(use.Handle(), use.Of().Table(table), 0));
}

}  // namespace vexa
