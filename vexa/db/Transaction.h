#pragma once

#include <lmdb.h>

#include <mutex>

namespace vexa {

class Environment;

// A transaction of an environment: its one write transaction, or a read transaction, which is
// reset and renewed for one caller after another.
//
// Callers hold LMDB's handle, which says nothing about its own life (LMDB uses one address for all
// write transactions). So each thread keeps a chain of the transactions that it has begun, and a
// handle counts only if it is found there. The objects are never freed, since they may still be in
// a thread's chain when their environment closes.
struct Transaction {
    explicit Transaction(Environment& owner, bool isWriter)
        : environment(owner), writes(isWriter) {}

    Environment& environment;
    const bool writes;

    // Of the thread that began it.
    MDB_txn* handle = nullptr;  // as handed out
    Transaction* next = nullptr;
    int usesOfThread = 0;

    // Held during each use, so that a closing environment does not take it from under one.
    std::mutex mutex;
    MDB_txn* transaction = nullptr;  // null when the environment was closed
};

// The chain of the calling thread. Begun transactions are linked in, ended ones unlinked.
void LinkTransaction(Transaction& transaction, MDB_txn* handle);
void UnlinkTransaction(Transaction& transaction);
// Null when the handle is not of a transaction that this thread has begun and not ended.
Transaction* FindTransaction(const MDB_txn* handle);
// The write transaction that this thread has in an environment, or null.
Transaction* FindWriter(const Environment& environment);
// True when this thread is inside a use of a transaction of an environment.
bool IsUsing(const Environment& environment);

// The use of a transaction by one operation of its thread; may nest. Null when it is no longer, or
// never was, a live transaction of this thread; that is an error of the thread then.
class TransactionUse {
public:
    explicit TransactionUse(MDB_txn* handle);
    ~TransactionUse();
    TransactionUse(const TransactionUse&) = delete;
    TransactionUse& operator=(const TransactionUse&) = delete;

    explicit operator bool() const { return m_transaction != nullptr; }
    Environment& Of() const { return m_transaction->environment; }
    MDB_txn* Handle() const { return m_transaction->transaction; }

private:
    Transaction* m_transaction;
};

}  // namespace vexa
