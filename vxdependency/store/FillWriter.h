#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "vexa/db/VXDatabase.h"

namespace vexa::vxdependency {

// Writes a large number of records in several transactions, so that the pages that LMDB keeps until
// a commit stay few, and yet as a whole: nobody else writes in between, the first transaction marks
// the store as being filled, and the last one takes the mark away. Who finds the mark
// (DropHalfFill) empties the store; what was in it can be read from the files again.
class FillWriter {
public:
    // `bytesPerCommit` is of records; LMDB keeps about as much.
    FillWriter(VXDatabase& database, std::size_t bytesPerCommit);
    // Without End: aborts, and empties the store if something of it has been committed.
    ~FillWriter();
    FillWriter(const FillWriter&) = delete;
    FillWriter& operator=(const FillWriter&) = delete;

    // Each is false on failure, after which only the destructor may follow.
    bool Begin();
    bool Write(DatabaseTable table, std::string_view key, std::string_view value);
    // For the records of a table that is empty, in their order.
    bool Append(DatabaseTable table, std::string_view key, std::string_view value);
    bool End();

    // For what else is to be done with what is there, between writes.
    MDB_txn* Transaction() const { return m_transaction; }
    // Counts what was written in the transaction, and goes on in another when it is enough.
    bool Wrote(std::size_t bytes);

private:
    VXDatabase& m_database;
    const std::size_t m_bytesPerCommit;
    WritingTurn m_turn;
    MDB_txn* m_transaction = nullptr;
    std::size_t m_bytes = 0;
    bool m_committed = false;
};

// Empties a store whose filling did not come to its end, which a process that was killed leaves
// behind; waits for one that is at it. `dropped` tells whether it was so. False on failure.
bool DropHalfFill(VXDatabase& database, bool& dropped);

}  // namespace vexa::vxdependency
