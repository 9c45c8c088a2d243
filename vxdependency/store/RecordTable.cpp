#include "vxdependency/store/RecordTable.h"

#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/EntryList.h"

namespace vexa::vxdependency {
namespace {

unsigned SizeOf(std::string_view key) {
    return static_cast<unsigned>(key.size());
}

}  // namespace

int ReadRecord(VXDatabase& database, RecordId id, std::string& value, MDB_txn* transaction) {
    if (transaction == nullptr) return VXDatabase::kFailed;
    return database.Get(&id, sizeof id, value, transaction);
}

int ReadCatalogueRecord(VXDatabase& database, std::string_view recordKey, std::string& value,
                        MDB_txn* transaction) {
    if (transaction == nullptr) return VXDatabase::kFailed;
    return database.Get(recordKey.data(), SizeOf(recordKey), value, transaction,
                        DatabaseTable::Catalogue);
}

int VisitRecord(VXDatabase& database, RecordId id, const RecordVisit& visit, MDB_txn* transaction) {
    if (transaction == nullptr) return VXDatabase::kFailed;
    return database.Visit(&id, sizeof id, visit, transaction);
}

int VisitCatalogueRecord(VXDatabase& database, std::string_view recordKey, const RecordVisit& visit,
                         MDB_txn* transaction) {
    if (transaction == nullptr) return VXDatabase::kFailed;
    return database.Visit(recordKey.data(), SizeOf(recordKey), visit, transaction,
                          DatabaseTable::Catalogue);
}

bool WriteRecord(VXDatabase& database, RecordId id, std::string_view value, MDB_txn* transaction) {
    return database.Add(&id, sizeof id, value.data(), value.size(), transaction) == 0;
}

bool ChangeRecord(VXDatabase& database, RecordName record,
                  const std::function<void(RecordState&)>& change, MDB_txn* transaction) {
    std::string value;
    const int status = ReadRecord(database, record.id, value, transaction);
    if (status != 0 && status != VXDatabase::kNotFound) return false;
    std::optional<std::string> before;
    if (status == 0) before = std::move(value);
    RecordState state(record, before);
    change(state);
    const std::optional<std::string> after = state.Value();
    if (after == before) return true;
    if (!after) return database.Remove(&record.id, sizeof record.id, transaction);
    return WriteRecord(database, record.id, *after, transaction);
}

std::optional<bool> AddToList(VXDatabase& database, RecordId id,
                              const std::vector<std::string_view>& entries, MDB_txn* transaction) {
    bool isList = false;
    std::string grown;
    const auto look = [&](std::string_view list) {
        isList = EntryList::IsList(list);
        if (!isList) return;
        const auto missing = EntryList::Missing(list, entries);
        if (!missing.empty()) grown = list;
        for (const std::string_view entry : missing) grown.append(entry).push_back('#');
    };
    const int status = VisitRecord(database, id, look, transaction);
    if (status == VXDatabase::kFailed) return false;
    if (!isList) return std::nullopt;
    return grown.empty() || WriteRecord(database, id, grown, transaction);
}

bool WriteCatalogueRecord(VXDatabase& database, std::string_view recordKey,
                          std::optional<std::string_view> value, MDB_txn* transaction) {
    const unsigned size = SizeOf(recordKey);
    if (value) {
        return transaction != nullptr &&
               database.Add(recordKey.data(), size, value->data(), value->size(), transaction,
                            DatabaseTable::Catalogue) == 0;
    }
    std::string present;
    const int status = ReadCatalogueRecord(database, recordKey, present, transaction);
    if (status != 0) return status == VXDatabase::kNotFound;
    return database.Remove(recordKey.data(), size, transaction, DatabaseTable::Catalogue);
}

bool WriteLayoutVersion(VXDatabase& database, MDB_txn* transaction) {
    const std::uint32_t version = Catalogue::kLayoutVersion;
    return WriteCatalogueRecord(
        database, Catalogue::VersionRecordKey(),
        std::string_view(reinterpret_cast<const char*>(&version), sizeof version), transaction);
}

bool ClearTables(VXDatabase& database, MDB_txn* transaction) {
    return transaction != nullptr && database.Clear(DatabaseTable::Dependency, transaction) &&
           database.Clear(DatabaseTable::Catalogue, transaction) &&
           WriteLayoutVersion(database, transaction);
}

}  // namespace vexa::vxdependency
