#include "vexa/db/Transaction.h"

#include "vexa/db/Environment.h"

namespace vexa {
namespace {

// Without a destructor, so that static objects can still use transactions at process exit.
thread_local Transaction* t_first = nullptr;

template <typename Matches>
Transaction* FindIf(Matches matches) {
    Transaction* transaction = t_first;
    while (transaction != nullptr && !matches(*transaction)) transaction = transaction->next;
    return transaction;
}

}  // namespace

void LinkTransaction(Transaction& transaction, MDB_txn* handle) {
    transaction.handle = handle;
    transaction.next = t_first;
    t_first = &transaction;
}

void UnlinkTransaction(Transaction& transaction) {
    Transaction** link = &t_first;
    while (*link != &transaction) link = &(*link)->next;
    *link = transaction.next;
}

Transaction* FindTransaction(const MDB_txn* handle) {
    return FindIf([handle](const Transaction& own) { return own.handle == handle; });
}

Transaction* FindWriter(const Environment& environment) {
    return FindIf([&](const Transaction& own) {
        return own.writes && &own.environment == &environment && !environment.IsForeign();
    });
}

bool IsUsing(const Environment& environment) {
    return FindIf([&](const Transaction& own) {
               return own.usesOfThread > 0 && &own.environment == &environment;
           }) != nullptr;
}

TransactionUse::TransactionUse(MDB_txn* handle) : m_transaction(FindTransaction(handle)) {
    if (m_transaction != nullptr && m_transaction->environment.IsForeign()) m_transaction = nullptr;
    if (m_transaction != nullptr) {
        if (m_transaction->usesOfThread++ == 0) m_transaction->mutex.lock();
        if (m_transaction->transaction != nullptr) return;
        if (--m_transaction->usesOfThread == 0) m_transaction->mutex.unlock();
        m_transaction = nullptr;
    }
}

TransactionUse::~TransactionUse() {
    if (m_transaction != nullptr && --m_transaction->usesOfThread == 0)
        m_transaction->mutex.unlock();
}

}  // namespace vexa
