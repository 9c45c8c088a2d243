#include "vxdependency/store/GeneralDependency.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <boost/sort/spreadsort/integer_sort.hpp>
#include <cstring>
#include <utility>

#include "vxdependency/store/EntryList.h"
#include "vxdependency/store/FillWriter.h"
#include "vxdependency/store/RecordTable.h"
#include "vxdependency/store/SharedRecords.h"
#include "vxdependency/store/StoreOpening.h"
#include "vxdependency/store/WriteBatch.h"

namespace vexa::vxdependency {
namespace {

constexpr std::size_t kLongestDirectory = 260;

// The working directory, as it was when it was first asked for.
const std::string& WorkingDirectory() {
    static const std::string directory = [] {
        boost::system::error_code failure;
        const auto path = boost::filesystem::current_path(failure);
        return failure ? std::string() : path.generic_string();
    }();
    return directory;
}

bool Usable(const std::string& workingDirectory, std::string& error) {
    if (workingDirectory.empty()) {
        error = "the working directory cannot be told";
    } else if (workingDirectory.size() > kLongestDirectory) {
        error = workingDirectory + ": the path is longer than " +
                std::to_string(kLongestDirectory) + " characters";
    } else {
        return true;
    }
    return false;
}

std::string StampRecord(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return StampText(path);
}

bool ChangeInverse(VXDatabase& database, const std::string& key,
                   const std::function<void(RecordState&)>& change, MDB_txn* transaction) {
    const std::string text = InverseText(key);
    return ChangeRecord(database, {IdOf(text), text}, change, transaction);
}

// What of one sorted list is not in the other.
std::vector<AwaitedId> Without(const std::vector<AwaitedId>& list,
                               const std::vector<AwaitedId>& other) {
    std::vector<AwaitedId> rest;
    std::ranges::set_difference(list, other, std::back_inserter(rest));
    return rest;
}

std::string_view Bytes(const std::int64_t& number) {
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

// The number whose bytes these are, if they are one's.
std::optional<std::int64_t> NumberOf(std::string_view bytes) {
    std::int64_t number = 0;
    if (bytes.size() != sizeof number) return std::nullopt;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

std::optional<CatalogueEntry> EntryOf(std::string_view bytes) {
    CatalogueEntry entry;
    return Catalogue::Decode(bytes, entry) ? std::optional(entry) : std::nullopt;
}

// Appends the entries of the list of `text`, whose value this is. Where two texts share the record,
// a stamp may stand there, as the scan has told.
template <class AskShared>
void Split(std::string_view value, const std::string& text, const AskShared& shared,
           GeneralDependency::List& out) {
    if (EntryList::IsList(value)) return EntryList::Split(value, out);
    if (shared().Contain(IdOf(text))) return;
    ListText(std::string(value), {IdOf(text), text});  // which says so
}

}  // namespace

GeneralDependency::GeneralDependency()
    : m_directory("temp/gen_dep"), m_batch(std::make_unique<WriteBatch>(m_database)) {}

GeneralDependency::~GeneralDependency() {
    m_batch->Flush();
}

GeneralDependency* GeneralDependency::Instance() {
    static GeneralDependency store;
    return &store;
}

bool GeneralDependency::Open() {
    if (m_directory.empty()) return false;
    const auto lock = m_batch->Lock();
    m_openError.clear();
    if (!Usable(WorkingDirectory(), m_openError)) return false;
    const std::string directory =
        (boost::filesystem::path(WorkingDirectory()) / m_directory).generic_string();
    return OpenStore(m_database, directory, m_openError);
}

void GeneralDependency::Close() {
    const auto lock = m_batch->Lock();
    m_batch->Flush();
    m_database.Close();
}

bool GeneralDependency::IsOpen() const {
    return m_database.IsOpen();
}

const std::string& GeneralDependency::GetOpenError() const {
    return m_openError;
}

bool GeneralDependency::AddDependency(const std::string& key, const std::string& value,
                                      signed char mode) {
    return AddDependency(key, List{value}, mode);
}

bool GeneralDependency::AddDependency(const std::string& key, const List& values,
                                      signed char mode) {
    if (IsLogged(key, values, mode)) return m_batch->Add(key, values, mode);
    return m_batch->WriteDirectly(
        [&](MDB_txn* transaction) { return Add(key, values, transaction, mode); });
}

bool GeneralDependency::SetDependency(const std::string& key, const List& values,
                                      signed char mode) {
    if (IsLogged(key, values, mode)) return m_batch->Set(key, values, mode);
    return m_batch->WriteDirectly(
        [&](MDB_txn* transaction) { return Set(key, values, transaction, mode); });
}

bool GeneralDependency::RemoveDependency(const std::string& key, const std::string& value,
                                         signed char mode) {
    return RemoveDependency(key, List{value}, mode);
}

bool GeneralDependency::RemoveDependency(const std::string& key, const List& values,
                                         signed char mode) {
    if (IsLogged(key, values, mode)) return m_batch->Remove(key, values, mode);
    return m_batch->WriteDirectly(
        [&](MDB_txn* transaction) { return Remove(key, values, transaction, mode); });
}

bool GeneralDependency::RemoveDependency(const std::string& key, signed char mode) {
    const auto lock = m_batch->Lock();
    List values;
    if (m_batch->IsInBatch()) {
        m_batch->FlushOther();
        return GetDependency(key, values) && RemoveDependency(key, values, mode);
    }
    return m_batch->WriteDirectly([&](MDB_txn* transaction) {
        return Get(key, values, transaction) && Remove(key, values, transaction, mode);
    });
}

bool GeneralDependency::RemoveInverseDependency(const std::string& key, std::string value) {
    return RemoveDependency(InverseText(key), List{std::move(value)}, kForward);
}

bool GeneralDependency::EraseInverseEntry(const std::string& key, const std::string& value) {
    return Change(InverseText(key), RecordOperation::EraseEntry, value);
}

bool GeneralDependency::EraseForward(const std::string& key) {
    return Change(key, RecordOperation::Delete, {});
}

bool GeneralDependency::GetDependency(const std::string& key, List& out) {
    if (!m_batch->HoldsOwnWork()) return Get(key, out, ReadTransaction(m_database));
    std::string value;
    if (m_batch->Read(IdOf(key), value) == VXDatabase::kFailed) return false;
    const auto shared = [this] { return SharedIds(m_database, ReadTransaction(m_database)); };
    Split(value, key, shared, out);
    return true;
}

bool GeneralDependency::GetInverseDependency(const std::string& key, List& out) {
    return GetDependency(InverseText(key), out);
}

bool GeneralDependency::GetAllDependency(const std::string& key, List& dependencies,
                                         List& dependents) {
    if (m_batch->HoldsOwnWork()) {
        const auto lock = m_batch->Lock();
        return GetDependency(key, dependencies) && GetInverseDependency(key, dependents);
    }
    const ReadTransaction transaction(m_database);
    return Get(key, dependencies, transaction) && Get(InverseText(key), dependents, transaction);
}

bool GeneralDependency::GetDependencyIf(const std::string& key, const std::string& path,
                                        bool inverse,
                                        const std::function<bool(const FileRecord&)>& wanted,
                                        List& out) {
    const std::string list = inverse ? InverseText(key) : key;
    FileRecord record;
    if (m_batch->HoldsOwnWork()) {
        const auto lock = m_batch->Lock();
        std::string value;
        if (ReadText(StampText(path), value) == 0) record.stamp = NumberOf(value);
        if (ReadCatalogue(Catalogue::FileRecordKey(key), value) == 0) record.entry = EntryOf(value);
        return wanted(record) && GetDependency(list, out);
    }
    const ReadTransaction transaction(m_database);
    const RecordId stamp = IdOf(StampText(path));
    const std::string file = Catalogue::FileRecordKey(key);
    const auto takeStamp = [&](std::string_view value) { record.stamp = NumberOf(value); };
    const auto takeEntry = [&](std::string_view value) { record.entry = EntryOf(value); };
    VisitRecord(m_database, stamp, takeStamp, transaction);
    VisitCatalogueRecord(m_database, file, takeEntry, transaction);
    return wanted(record) && Get(list, out, transaction);
}

bool GeneralDependency::RenameKey(const std::string& oldKey, const std::string& newKey) {
    const auto lock = m_batch->Lock();
    if (m_batch->IsInBatch()) return RenameKeyInBatch(oldKey, newKey);
    return m_batch->WriteDirectly(
        [&](MDB_txn* transaction) { return Move(oldKey, newKey, transaction); });
}

bool GeneralDependency::RenameValue(const std::string& key, const std::string& oldValue,
                                    const std::string& newValue) {
    const auto lock = m_batch->Lock();
    if (IsLogged(key, {oldValue, newValue}, kBoth)) {
        return m_batch->Remove(key, {oldValue}, kBoth) && m_batch->Add(key, {newValue}, kBoth);
    }
    return m_batch->WriteDirectly([&](MDB_txn* transaction) {
        return Remove(key, {oldValue}, transaction, kBoth) &&
               Add(key, {newValue}, transaction, kBoth);
    });
}

bool GeneralDependency::GetTimeStamp(const std::string& path, std::int64_t& out) {
    std::string value;
    const int status = ReadText(StampText(path), value);
    if (status == 0) out = NumberOf(value).value_or(out);
    return status != VXDatabase::kFailed;
}

bool GeneralDependency::HasStampRecord(const std::string& path) {
    std::string value;
    return ReadText(StampText(path), value) == 0;
}

bool GeneralDependency::GetTimeStamps(std::size_t count,
                                      const std::function<std::string_view(std::size_t)>& pathAt,
                                      const std::function<void(std::size_t, std::int64_t)>& take) {
    if (!FlushOwnBatch()) return false;
    // In the order of the table: the ids are spread over all of it.
    std::vector<std::uint64_t> order(count);
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text.assign(pathAt(i));
        order[i] = std::uint64_t{InTableOrder(IdOf(text += '!'))} << 32 | i;
    }
    boost::sort::spreadsort::integer_sort(order.begin(), order.end());
    RecordId id = 0;
    const auto keyAt = [&](std::size_t i) {
        id = InTableOrder(static_cast<std::uint32_t>(order[i] >> 32));
        return std::string_view(reinterpret_cast<const char*>(&id), sizeof id);
    };
    const auto takeStamp = [&](std::size_t i, std::string_view value) {
        std::int64_t stamp = 0;
        if (value.size() != sizeof stamp) return;
        std::memcpy(&stamp, value.data(), sizeof stamp);
        take(order[i] & UINT32_MAX, stamp);
    };
    return m_database.GetEach(DatabaseTable::Dependency, count, keyAt, takeStamp,
                              ReadTransaction(m_database));
}

bool GeneralDependency::SetTimeStamp(const std::string& path, std::int64_t time) {
    return Change(StampRecord(path), RecordOperation::Replace, Bytes(time));
}

bool GeneralDependency::EraseTimeStamp(const std::string& path) {
    return Change(StampRecord(path), RecordOperation::Delete, {});
}

bool GeneralDependency::FindFile(const std::string& key, CatalogueEntry& out) {
    std::string value;
    return ReadCatalogue(Catalogue::FileRecordKey(key), value) == 0 &&
           Catalogue::Decode(value, out);
}

bool GeneralDependency::SetFile(const std::string& key, const CatalogueEntry& entry) {
    return WriteCatalogue(Catalogue::FileRecordKey(key), Catalogue::Encode(entry));
}

bool GeneralDependency::EraseFile(const std::string& key) {
    return WriteCatalogue(Catalogue::FileRecordKey(key), std::nullopt);
}

bool GeneralDependency::ForEachFile(
    const std::string& prefix,
    const std::function<bool(std::string_view, const CatalogueEntry&)>& visit) {
    return ForEachCatalogueRecord(
        Catalogue::FileRecordKey(prefix), [&](std::string_view key, std::string_view value) {
            CatalogueEntry entry;
            return !Catalogue::Decode(value, entry) || visit(key.substr(1), entry);
        });
}

// Visits the records whose key begins with `prefix`, of one state of the store.
bool GeneralDependency::ForEachCatalogueRecord(
    const std::string& prefix,
    const std::function<bool(std::string_view, std::string_view)>& visit) {
    if (!FlushOwnBatch()) return false;
    const ReadTransaction transaction(m_database);
    if (transaction == nullptr) return false;
    const auto visitRecord = [&](std::string_view key, std::string_view value) {
        return key.starts_with(prefix) && visit(key, value);
    };
    return m_database.ForEach(DatabaseTable::Catalogue, prefix, visitRecord, transaction);
}

bool GeneralDependency::SetFindings(const std::string& key, const Findings& findings) {
    const auto lock = m_batch->Lock();
    Findings old;
    const bool known = GetFindings(key, old);
    if (findings.IsEmpty() && !known) return true;
    if (!m_batch->IsInBatch()) {
        StoreBatch batch(this);
        return SetFindings(key, findings) && batch.End();
    }
    bool written = true;
    const auto awaits = [&key](AwaitedId id) { return Catalogue::AwaitedRecordKey(id, key); };
    for (const AwaitedId id : Without(old.awaited, findings.awaited)) {
        written &= WriteCatalogue(awaits(id), std::nullopt);
    }
    for (const AwaitedId id : Without(findings.awaited, old.awaited)) {
        written &= WriteCatalogue(awaits(id), "");
    }
    const std::string record = Catalogue::FindingsRecordKey(key);
    if (findings.IsEmpty()) return WriteCatalogue(record, std::nullopt) && written;
    return WriteCatalogue(record, findings.Encode()) && written;
}

bool GeneralDependency::GetFindings(const std::string& key, Findings& out) {
    std::string value;
    return ReadCatalogue(Catalogue::FindingsRecordKey(key), value) == 0 &&
           Findings::Decode(value, out);
}

bool GeneralDependency::ForEachFindings(
    const std::string& prefix,
    const std::function<bool(std::string_view, const Findings&)>& visit) {
    return ForEachCatalogueRecord(
        Catalogue::FindingsRecordKey(prefix), [&](std::string_view key, std::string_view value) {
            Findings findings;
            return !Findings::Decode(value, findings) || visit(key.substr(1), findings);
        });
}

bool GeneralDependency::FindAwaiting(const List& paths, List& out) {
    if (!FlushOwnBatch()) return false;
    const ReadTransaction transaction(m_database);
    if (transaction == nullptr) return false;
    return std::ranges::all_of(paths, [&](const std::string& path) {
        const std::string prefix = Catalogue::AwaitedRecordKey(AwaitedIdOf(path), "");
        const auto visit = [&](std::string_view key, std::string_view) {
            if (!key.starts_with(prefix)) return false;
            out.emplace_back(key.substr(prefix.size()));
            return true;
        };
        return m_database.ForEach(DatabaseTable::Catalogue, prefix, visit, transaction);
    });
}

bool GeneralDependency::GetMeta(const std::string& name, std::string& out) {
    return ReadCatalogue(Catalogue::MetaRecordKey(name), out) == 0;
}

bool GeneralDependency::SetMeta(const std::string& name, const std::string& text) {
    return WriteCatalogue(Catalogue::MetaRecordKey(name), text);
}

std::uint64_t GeneralDependency::LastChange() {
    if (!FlushOwnBatch()) return 0;
    const ReadTransaction transaction(m_database);
    return transaction == nullptr ? 0 : m_database.LastChange(transaction);
}

bool GeneralDependency::Clear() {
    if (m_batch->IsInBatch()) return m_batch->Clear();
    return m_batch->WriteDirectly(
        [this](MDB_txn* transaction) { return ClearTables(m_database, transaction); });
}

void GeneralDependency::BeginBatch() {
    m_batch->Begin();
}

bool GeneralDependency::BatchCheckpoint() {
    return m_batch->Checkpoint();
}

bool GeneralDependency::FlushBatch() {
    return m_batch->Flush();
}

bool GeneralDependency::FlushOwnBatch() {
    return !m_batch->HoldsOwnWork() || m_batch->FlushOwn();
}

bool GeneralDependency::FlushOtherBatch() {
    return m_batch->FlushOther();
}

bool GeneralDependency::FlushOtherBatch(const std::string& key, const CatalogueEntry& state) {
    return m_batch->FlushOther(key, state);
}

bool GeneralDependency::EndBatch() {
    return m_batch->End();
}

bool GeneralDependency::OpenFill(StoreFill& fill) {
    return m_batch->OpenFill(fill);
}

void GeneralDependency::AddToFill(FilledFiles run) {
    m_batch->AddToFill(std::move(run));
}

bool GeneralDependency::CloseFill() {
    return m_batch->CloseFill();
}

bool GeneralDependency::DropHalfFill(bool& dropped) {
    return vxdependency::DropHalfFill(m_database, dropped);
}

// Whether the calling thread's batch takes an operation. The log keeps each record's operations
// apart, so one in which a value's inverse record is the forward record of `key` is none for it.
bool GeneralDependency::IsLogged(const std::string& key, const List& values,
                                 signed char mode) const {
    if (!m_batch->IsInBatch()) return false;
    if ((mode & kInverse) == 0) return true;
    const RecordId forward = ForwardId(key);
    return std::none_of(values.begin(), values.end(), [forward](const std::string& value) {
        return InverseId(value) == forward;
    });
}

// One operation on the record of a text.
bool GeneralDependency::Change(const std::string& text, RecordOperation operation,
                               std::string_view value) {
    if (m_batch->IsInBatch()) return m_batch->Write(IdOf(text), operation, value);
    const auto apply = [&](RecordState& state) { state.Apply(operation, value); };
    return m_batch->WriteDirectly([&](MDB_txn* transaction) {
        return ChangeRecord(m_database, {IdOf(text), text}, apply, transaction);
    });
}

bool GeneralDependency::WriteCatalogue(const std::string& recordKey,
                                       std::optional<std::string> value) {
    if (m_batch->IsInBatch()) return m_batch->WriteCatalogue(recordKey, std::move(value));
    return m_batch->WriteDirectly([&](MDB_txn* transaction) {
        return WriteCatalogueRecord(m_database, recordKey, value, transaction);
    });
}

int GeneralDependency::ReadText(const std::string& text, std::string& value) {
    if (m_batch->HoldsOwnWork()) return m_batch->Read(IdOf(text), value);
    return ReadRecord(m_database, IdOf(text), value, ReadTransaction(m_database));
}

int GeneralDependency::ReadCatalogue(const std::string& recordKey, std::string& value) {
    if (m_batch->HoldsOwnWork()) return m_batch->ReadCatalogue(recordKey, value);
    return ReadCatalogueRecord(m_database, recordKey, value, ReadTransaction(m_database));
}

bool GeneralDependency::RenameKeyInBatch(const std::string& oldKey, const std::string& newKey) {
    m_batch->FlushOther();
    List values;
    if (!GetDependency(oldKey, values)) return false;
    if (IsLogged(oldKey, values, kBoth) && IsLogged(newKey, values, kBoth)) {
        return m_batch->Remove(oldKey, values, kBoth) && m_batch->Add(newKey, values, kBoth);
    }
    return m_batch->WriteDirectly(
        [&](MDB_txn* transaction) { return Move(oldKey, newKey, transaction); });
}

bool GeneralDependency::Get(const std::string& key, List& out, MDB_txn* transaction) {
    const auto shared = [&] { return SharedIds(m_database, transaction); };
    const auto split = [&](std::string_view value) { Split(value, key, shared, out); };
    return VisitRecord(m_database, ForwardId(key), split, transaction) != VXDatabase::kFailed;
}

bool GeneralDependency::Add(const std::string& key, const List& values, MDB_txn* transaction,
                            signed char mode) {
    if (transaction == nullptr) return false;
    std::string value;
    const int status = ReadRecord(m_database, ForwardId(key), value, transaction);
    if (status != 0 && status != VXDatabase::kNotFound) {
        m_database.TransAbort(transaction);
        return false;
    }
    EntryList forward(ListText(std::move(value), {ForwardId(key), key}));
    return Merge(key, values, forward, transaction, mode);
}

bool GeneralDependency::Set(const std::string& key, const List& values, MDB_txn* transaction,
                            signed char mode) {
    if (transaction == nullptr) return false;
    EntryList forward;
    return Merge(key, values, forward, transaction, mode);
}

// Adds the values to what the forward record is to hold, and stores it, also when it is empty.
bool GeneralDependency::Merge(const std::string& key, const List& values, EntryList& forward,
                              MDB_txn* transaction, signed char mode) {
    const auto addKey = [&key](RecordState& inverse) {
        inverse.Apply(RecordOperation::AddEntry, key);
    };
    const auto merge = [&](const std::string& value) {
        if (mode & kForward) forward.Add(value);
        return (mode & kInverse) == 0 || ChangeInverse(m_database, value, addKey, transaction);
    };
    const RecordId id = ForwardId(key);
    if (std::all_of(values.begin(), values.end(), merge)) {
        const std::string text = forward.Text();
        if (m_database.Add(&id, sizeof id, text.data(), text.size(), transaction) == 0) return true;
    }
    m_database.TransAbort(transaction);
    return false;
}

bool GeneralDependency::Remove(const std::string& key, const List& values, MDB_txn* transaction,
                               signed char mode) {
    const RecordId id = ForwardId(key);
    std::string value;
    if (ReadRecord(m_database, id, value, transaction) != 0) return false;
    EntryList forward(ListText(std::move(value), {ForwardId(key), key}));
    const auto removeKey = [&key](RecordState& inverse) {
        inverse.Apply(RecordOperation::RemoveEntry, key);
    };
    const auto remove = [&](const std::string& entry) {
        if (mode & kForward) forward.RemoveFirstMatch(entry);
        return (mode & kInverse) == 0 || ChangeInverse(m_database, entry, removeKey, transaction);
    };
    if (!std::all_of(values.begin(), values.end(), remove)) return false;
    if (forward.IsEmpty()) return m_database.Remove(&id, sizeof id, transaction);
    const std::string text = forward.Text();
    return m_database.Add(&id, sizeof id, text.data(), text.size(), transaction) == 0;
}

bool GeneralDependency::Move(const std::string& oldKey, const std::string& newKey,
                             MDB_txn* transaction) {
    List values;
    return Get(oldKey, values, transaction) && Remove(oldKey, values, transaction, kBoth) &&
           Add(newKey, values, transaction, kBoth);
}

}  // namespace vexa::vxdependency
