#include "vxdependency/store/WriteBatch.h"

#include <algorithm>
#include <utility>

#include "vexa/common/Log.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/RecordTable.h"

namespace vexa::vxdependency {
namespace {

// What a value that is kept costs in memory beside its text, about.
constexpr std::size_t kBytesPerState = 128;
constexpr int kRestPerFlush = 10;

}  // namespace

WriteBatch::WriteBatch(VXDatabase& database, Limits limits)
    : m_database(database), m_limits(std::move(limits)) {}

void WriteBatch::Begin() {
    const auto lock = Lock();
    if (m_members.empty()) m_lastFlush = m_limits.now();
    ++m_members[std::this_thread::get_id()].depth;
}

bool WriteBatch::End() {
    const auto lock = Lock();
    const auto member = m_members.find(std::this_thread::get_id());
    if (member == m_members.end()) return false;
    if (--member->second.depth > 0) return !member->second.lost;
    if (HoldsOwnWork()) {
        FlushAll();
        m_writer = std::thread::id();
    }
    const bool complete = TellLoss();
    m_members.erase(member);
    return complete;
}

bool WriteBatch::Checkpoint() {
    const auto lock = Lock();
    if (HoldsOwnWork() && IsDue()) FlushLog();
    if (HoldsOwnFill() && IsFillDue()) FlushAll();
    return TellLoss();
}

bool WriteBatch::Flush() {
    const auto lock = Lock();
    const bool flushed = FlushAll();
    return TellLoss() && flushed;
}

bool WriteBatch::FlushOwn() {
    const auto lock = Lock();
    return !HoldsOwnWork() || FlushAll();
}

bool WriteBatch::FlushOther() {
    const auto lock = Lock();
    return HoldsFill() && !HoldsOwnFill() ? FlushAll() : FlushOtherLog();
}

bool WriteBatch::FlushOther(const std::string& key, const CatalogueEntry& state) {
    const auto lock = Lock();
    const bool asFilled = m_fill != nullptr && m_fill->Holds(key, state);
    return asFilled ? FlushOtherLog() : FlushOther();
}

bool WriteBatch::FlushOtherLog() {
    return HoldsOwnWork() || FlushLog();
}

bool WriteBatch::IsInBatch() const {
    const auto lock = Lock();
    return m_members.count(std::this_thread::get_id()) != 0;
}

bool WriteBatch::WriteDirectly(const std::function<bool(MDB_txn*)>& step) {
    const auto lock = Lock();
    FlushLog();
    const auto member = m_members.find(std::this_thread::get_id());
    if (member != m_members.end() && member->second.lost) return false;
    MDB_txn* const transaction = m_database.TransBegin();
    if (step(transaction)) return m_database.TransCommit(transaction);
    m_database.TransAbort(transaction);
    return false;
}

bool WriteBatch::Write(RecordId record, RecordOperation operation, std::string_view text) {
    const auto lock = Lock();
    if (!BecomeWriter()) return false;
    Note(record, operation, text);
    return true;
}

bool WriteBatch::Add(const std::string& key, const List& values, signed char mode) {
    const auto lock = Lock();
    if (!BecomeWriter()) return false;
    Note(ForwardId(key), RecordOperation::Keep, {});
    NoteList(key, values, mode, RecordOperation::AddEntry);
    return true;
}

bool WriteBatch::Set(const std::string& key, const List& values, signed char mode) {
    const auto lock = Lock();
    if (!BecomeWriter()) return false;
    // The forward list is known as a whole, and need not be made when the log is written.
    EntryList forward;
    if (mode & GeneralDependency::kForward) {
        for (const std::string& value : values) forward.Add(value);
    }
    Note(ForwardId(key), RecordOperation::Replace, forward.Text());
    NoteList(key, values, mode & GeneralDependency::kInverse, RecordOperation::AddEntry);
    return true;
}

bool WriteBatch::Remove(const std::string& key, const List& values, signed char mode) {
    const auto lock = Lock();
    if (!BecomeWriter()) return false;
    const RecordId forward = ForwardId(key);
    const RecordState* const state = StateOf(forward);
    if (state == nullptr || !state->IsPresent()) return false;
    NoteList(key, values, mode, RecordOperation::RemoveEntry);
    Note(forward, RecordOperation::DropEmpty, {});
    return true;
}

bool WriteBatch::WriteCatalogue(std::string_view recordKey, std::optional<std::string_view> value) {
    const auto lock = Lock();
    if (!BecomeWriter()) return false;
    m_log.SetCatalogue(recordKey, value);
    return true;
}

bool WriteBatch::Clear() {
    const auto lock = Lock();
    if (!BecomeWriter()) return false;
    DropLog();
    m_cleared = true;
    return true;
}

bool WriteBatch::OpenFill(StoreFill& fill) {
    const auto lock = Lock();
    if (m_fill != nullptr || !BecomeWriter()) return false;
    m_fill = &fill;
    m_filler = std::this_thread::get_id();
    m_lastFill = m_limits.now();
    return true;
}

void WriteBatch::AddToFill(FilledFiles run) {
    const auto lock = Lock();
    if (m_fill != nullptr) m_fill->Add(std::move(run));
}

bool WriteBatch::CloseFill() {
    const auto lock = Lock();
    FlushAll();
    m_fill = nullptr;
    return TellLoss();
}

int WriteBatch::Read(RecordId record, std::string& value) {
    const auto lock = Lock();
    if (!HoldsOwnWork() || (m_log.Find(record) == nullptr && !m_cleared)) {
        return ReadRecord(m_database, record, value, ReadTransaction(m_database));
    }
    const RecordState* const state = StateOf(record);
    if (state == nullptr) return VXDatabase::kFailed;
    if (!state->IsPresent()) return VXDatabase::kNotFound;
    value = *state->Value();
    return 0;
}

int WriteBatch::ReadCatalogue(const std::string& recordKey, std::string& value) {
    const auto lock = Lock();
    const BatchLog::CatalogueValue* const logged =
        HoldsOwnWork() ? m_log.FindCatalogue(recordKey) : nullptr;
    if (logged == nullptr && !(HoldsOwnWork() && m_cleared)) {
        return ReadCatalogueRecord(m_database, recordKey, value, ReadTransaction(m_database));
    }
    if (logged == nullptr || !*logged) return VXDatabase::kNotFound;
    value = **logged;
    return 0;
}

// Makes the log the calling thread's; false when it must not write.
bool WriteBatch::BecomeWriter() {
    const auto member = m_members.find(std::this_thread::get_id());
    if (member == m_members.end() || !m_database.IsOpen()) return false;
    if (!HoldsOwnWork()) {
        FlushLog();  // a failure is the other thread's loss
        m_writer = std::this_thread::get_id();
    }
    return !member->second.lost;
}

// False, once, when work of the calling thread was dropped.
bool WriteBatch::TellLoss() {
    const auto member = m_members.find(std::this_thread::get_id());
    return member == m_members.end() || !std::exchange(member->second.lost, false);
}

bool WriteBatch::IsDue() const {
    const Clock::duration rest = std::max(m_limits.interval, kRestPerFlush * m_lastDuration);
    return m_log.Bytes() + m_stateBytes >= m_limits.bytes || m_limits.now() - m_lastFlush >= rest;
}

bool WriteBatch::IsFillDue() const {
    const Clock::duration rest =
        std::max(m_limits.fillInterval, kRestPerFlush * m_lastFillDuration);
    return m_fill->Bytes() >= m_limits.fillBytes || m_limits.now() - m_lastFill >= rest;
}

void WriteBatch::Note(RecordId id, RecordOperation operation, std::string_view text) {
    m_log.Append(id, operation, text);
    if (m_states.empty()) return;
    const auto state = m_states.find(id);
    if (state == m_states.end()) return;
    state->second.Apply(operation, text);
    m_stateBytes += text.size();
}

void WriteBatch::NoteList(const std::string& key, const List& values, signed char mode,
                          RecordOperation operation) {
    const RecordId forward = ForwardId(key);
    for (const std::string& value : values) {
        if (mode & GeneralDependency::kForward) Note(forward, operation, value);
        if (mode & GeneralDependency::kInverse) Note(InverseId(value), operation, key);
    }
}

// The record's value with the log applied, null when it cannot be read.
RecordState* WriteBatch::StateOf(RecordId id) {
    const auto known = m_states.find(id);
    if (known != m_states.end()) return &known->second;
    std::optional<std::string> stored;
    if (!m_cleared) {
        std::string value;
        const int status = ReadRecord(m_database, id, value, ReadTransaction(m_database));
        if (status == 0) stored = std::move(value);
        if (status == VXDatabase::kFailed) return nullptr;
    }
    m_stateBytes += kBytesPerState + (stored ? stored->size() : 0);
    RecordState& state = m_states.emplace(id, RecordState({id}, std::move(stored))).first->second;
    if (const BatchLog::Record* const record = m_log.Find(id)) record->Replay(state);
    return &state;
}

// The log first: of a file that both hold, it has the later state, and the fill leaves files out
// that are stored.
bool WriteBatch::FlushAll() {
    const bool flushed = FlushLog();
    return FlushFill() && flushed;
}

bool WriteBatch::FlushFill() {
    if (!HoldsFill()) return true;
    const Clock::time_point begin = m_limits.now();
    const std::size_t files = m_fill->FileCount();
    const bool written = m_fill->Write(m_database);
    if (!written) ReportLoss(m_filler, files);
    m_lastFill = m_limits.now();
    m_lastFillDuration = m_lastFill - begin;
    return written;
}

bool WriteBatch::FlushLog() {
    if (IsEmpty()) return true;
    const Clock::time_point begin = m_limits.now();
    MDB_txn* const transaction = m_database.TransBegin();
    bool written = transaction != nullptr && WriteLog(transaction);
    if (written) {
        written = m_database.TransCommit(transaction);
    } else {
        m_database.TransAbort(transaction);
    }
    if (!written) ReportLoss(m_writer, m_log.RecordCount());
    DropLog();
    m_lastFlush = m_limits.now();
    m_lastDuration = m_lastFlush - begin;
    return written;
}

void WriteBatch::ReportLoss(std::thread::id loser, std::size_t records) {
    LogError("dependency store: the changes of %zu records are lost: %s", records,
             m_database.GetError().c_str());
    const auto member = m_members.find(loser);
    if (member != m_members.end()) member->second.lost = true;
}

bool WriteBatch::WriteLog(MDB_txn* transaction) {
    if (m_cleared && !ClearTables(m_database, transaction)) return false;
    const auto records = m_log.Sorted();
    const auto writeRecord = [&](const auto& entry) {
        const auto& record = entry.second;
        // Most are stamps, which are written without a look at what stands there.
        if (const auto value = record.PlainValue()) {
            return WriteRecord(m_database, entry.first, *value, transaction);
        }
        if (const auto added = record.AddedEntries()) {
            if (const auto done = AddToList(m_database, entry.first, *added, transaction)) {
                return *done;
            }
        }
        return ChangeRecord(
            m_database, {entry.first}, [&](RecordState& state) { record.Replay(state); },
            transaction);
    };
    const auto catalogue = m_log.SortedCatalogue();
    return std::all_of(records.begin(), records.end(), writeRecord) &&
           std::all_of(catalogue.begin(), catalogue.end(), [&](const auto& record) {
               return WriteCatalogueRecord(m_database, record.first, record.second, transaction);
           });
}

void WriteBatch::DropLog() {
    m_log.Clear();
    m_states.clear();
    m_stateBytes = 0;
    m_cleared = false;
}

}  // namespace vexa::vxdependency
