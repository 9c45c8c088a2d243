#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/db/VXDatabase.h"
#include "vxdependency/store/RecordId.h"
#include "vxdependency/store/RecordState.h"

// Single records of the two tables, in the caller's transaction.
namespace vexa::vxdependency {

// A read transaction for the life of the object.
class ReadTransaction {
public:
    explicit ReadTransaction(VXDatabase& database)
        : m_database(database), m_transaction(database.TransBeginRead()) {}
    ~ReadTransaction() { m_database.TransAbort(m_transaction); }
    ReadTransaction(const ReadTransaction&) = delete;
    ReadTransaction& operator=(const ReadTransaction&) = delete;

    // Null when none could be begun.
    operator MDB_txn*() const { return m_transaction; }

private:
    VXDatabase& m_database;
    MDB_txn* m_transaction;
};

// Each of these returns what VXDatabase::Get does; kFailed for a null transaction.
int ReadRecord(VXDatabase& database, RecordId id, std::string& value, MDB_txn* transaction);
int ReadCatalogueRecord(VXDatabase& database, std::string_view recordKey, std::string& value,
                        MDB_txn* transaction);

// The same, with the value where it lies (VXDatabase::Visit).
using RecordVisit = std::function<void(std::string_view)>;
int VisitRecord(VXDatabase& database, RecordId id, const RecordVisit& visit, MDB_txn* transaction);
int VisitCatalogueRecord(VXDatabase& database, std::string_view recordKey, const RecordVisit& visit,
                         MDB_txn* transaction);

// Sets a record of the dependency table. False on failure.
bool WriteRecord(VXDatabase& database, RecordId id, std::string_view value, MDB_txn* transaction);

// Applies `change` to a record and stores what it becomes, where that differs. False on failure.
bool ChangeRecord(VXDatabase& database, RecordName record,
                  const std::function<void(RecordState&)>& change, MDB_txn* transaction);

// Adds entries, which hold no "#", to a list that is there: as RecordOperation::AddEntry for each,
// but a list of megabytes that holds them all is neither copied nor indexed. Nothing when there is
// no list; false on failure.
std::optional<bool> AddToList(VXDatabase& database, RecordId id,
                              const std::vector<std::string_view>& entries, MDB_txn* transaction);

// Sets a record of the catalogue, or deletes it. False on failure; deleting none is none.
bool WriteCatalogueRecord(VXDatabase& database, std::string_view recordKey,
                          std::optional<std::string_view> value, MDB_txn* transaction);

bool WriteLayoutVersion(VXDatabase& database, MDB_txn* transaction);

// Deletes all records but the layout version.
bool ClearTables(VXDatabase& database, MDB_txn* transaction);

}  // namespace vexa::vxdependency
