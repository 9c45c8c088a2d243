#include "vxdependency/store/FillWriter.h"

#include <string>
#include <utility>

#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/RecordTable.h"

namespace vexa::vxdependency {
namespace {

std::string MarkKey() {
    return Catalogue::MetaRecordKey("filling");
}

bool IsMarked(VXDatabase& database, MDB_txn* transaction, bool& marked) {
    std::string value;
    const int status = ReadCatalogueRecord(database, MarkKey(), value, transaction);
    marked = status == 0;
    return marked || status == VXDatabase::kNotFound;
}

bool Empty(VXDatabase& database) {
    MDB_txn* const transaction = database.TransBegin();
    if (ClearTables(database, transaction)) return database.TransCommit(transaction);
    database.TransAbort(transaction);
    return false;
}

}  // namespace

FillWriter::FillWriter(VXDatabase& database, std::size_t bytesPerCommit)
    : m_database(database), m_bytesPerCommit(bytesPerCommit), m_turn(database) {}

FillWriter::~FillWriter() {
    if (m_transaction != nullptr) m_database.TransAbort(m_transaction);
    // Should it fail as well, the mark tells the next scan.
    if (m_committed) Empty(m_database);
}

bool FillWriter::Begin() {
    if (!m_turn) return false;
    m_transaction = m_database.TransBegin();
    return WriteCatalogueRecord(m_database, MarkKey(), "", m_transaction);
}

bool FillWriter::Write(DatabaseTable table, std::string_view key, std::string_view value) {
    return m_database.Add(key.data(), static_cast<unsigned>(key.size()), value.data(), value.size(),
                          m_transaction, table) == 0 &&
           Wrote(key.size() + value.size());
}

bool FillWriter::Append(DatabaseTable table, std::string_view key, std::string_view value) {
    return m_database.Append(key.data(), static_cast<unsigned>(key.size()), value.data(),
                             value.size(), m_transaction, table) == 0 &&
           Wrote(key.size() + value.size());
}

bool FillWriter::Wrote(std::size_t bytes) {
    constexpr std::size_t kPerRecord = 16;  // of the page's own
    m_bytes += bytes + kPerRecord;
    if (m_bytes < m_bytesPerCommit) return true;
    m_bytes = 0;
    if (!m_database.TransCommit(std::exchange(m_transaction, nullptr))) return false;
    m_committed = true;
    m_transaction = m_database.TransBegin();
    return m_transaction != nullptr;
}

bool FillWriter::End() {
    if (!WriteCatalogueRecord(m_database, MarkKey(), std::nullopt, m_transaction)) return false;
    if (!m_database.TransCommit(std::exchange(m_transaction, nullptr))) return false;
    m_committed = false;
    return true;
}

bool DropHalfFill(VXDatabase& database, bool& dropped) {
    dropped = false;
    if (!IsMarked(database, ReadTransaction(database), dropped)) return false;
    if (!dropped) return true;
    // Now that nobody is at it: it may have come to its end meanwhile.
    const WritingTurn turn(database);
    return turn && IsMarked(database, ReadTransaction(database), dropped) &&
           (!dropped || Empty(database));
}

}  // namespace vexa::vxdependency
