#include "vxdependency/store/BatchLog.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vexa::vxdependency {
namespace {

// The operation makes what came before it pointless.
bool StartsAnew(RecordOperation kind) {
    return kind == RecordOperation::Replace || kind == RecordOperation::Delete;
}

// An operation's text stands behind it in memory.
void PutBehind(BatchLog::Operation& operation, std::string_view text) {
    std::copy(text.begin(), text.end(), reinterpret_cast<char*>(&operation + 1));
}

template <class Map>
auto SortedBy(const Map& map, const auto& less) {
    std::vector<std::pair<typename Map::key_type, typename Map::mapped_type>> sorted;
    sorted.reserve(map.size());
    for (const auto& [key, value] : map) sorted.emplace_back(key, value);
    std::sort(sorted.begin(), sorted.end(), [&less](const auto& left, const auto& right) {
        return less(left.first, right.first);
    });
    return sorted;
}

}  // namespace

void BatchLog::Record::Replay(RecordState& state) const {
    for (const Operation* operation = first; operation != nullptr; operation = operation->next) {
        state.Apply(operation->kind, operation->Text());
    }
}

std::optional<std::string_view> BatchLog::Record::PlainValue() const {
    if (first != last || first->kind != RecordOperation::Replace) return std::nullopt;
    return first->Text();
}

std::optional<std::vector<std::string_view>> BatchLog::Record::AddedEntries() const {
    std::vector<std::string_view> entries;
    for (const Operation* operation = first; operation != nullptr; operation = operation->next) {
        const std::string_view text = operation->Text();
        if (operation->kind != RecordOperation::AddEntry || text.find('#') != text.npos) return {};
        entries.push_back(text);
    }
    return entries;
}

BatchLog::BatchLog() {
    // Fuller than they are by default: the log is large, and looked into once per operation.
    constexpr float kFull = 0.8F;
    m_records.max_load_factor(kFull);
    m_catalogue.max_load_factor(kFull);
}

void BatchLog::Append(RecordId id, RecordOperation kind, std::string_view text) {
    Record& record = m_records[id];
    if (record.last != nullptr && StartsAnew(kind)) {
        // A stamp is often set twice: the second takes the place of the first.
        record.first = record.last;
        if (record.last->length == text.size()) {
            record.last->kind = kind;
            PutBehind(*record.last, text);
            return;
        }
    }
    const std::size_t size = sizeof(Operation) + text.size();
    void* const memory = m_arena.allocate(size, alignof(Operation));
    m_arenaBytes += size;
    auto* const operation =
        new (memory) Operation{nullptr, static_cast<std::uint32_t>(text.size()), kind};
    PutBehind(*operation, text);

    if (record.last == nullptr || StartsAnew(kind)) {
        record.first = operation;
    } else {
        record.last->next = operation;
    }
    record.last = operation;
}

const BatchLog::Record* BatchLog::Find(RecordId id) const {
    const auto found = m_records.find(id);
    return found == m_records.end() ? nullptr : &found->second;
}

std::vector<std::pair<RecordId, BatchLog::Record>> BatchLog::Sorted() const {
    return SortedBy(m_records, StandsBefore);
}

void BatchLog::SetCatalogue(std::string_view key, CatalogueValue value) {
    const CatalogueValue kept = value ? CatalogueValue(Keep(*value)) : std::nullopt;
    const auto found = m_catalogue.find(key);
    if (found != m_catalogue.end()) {
        found.value() = kept;
    } else {
        m_catalogue.emplace(Keep(key), kept);
    }
}

const BatchLog::CatalogueValue* BatchLog::FindCatalogue(std::string_view key) const {
    const auto found = m_catalogue.find(key);
    return found == m_catalogue.end() ? nullptr : &found->second;
}

std::vector<std::pair<std::string_view, BatchLog::CatalogueValue>> BatchLog::SortedCatalogue()
    const {
    return SortedBy(m_catalogue, std::less<>());
}

std::size_t BatchLog::Bytes() const {
    return m_arenaBytes + m_records.bucket_count() * sizeof(std::pair<RecordId, Record>) +
           m_catalogue.bucket_count() * sizeof(std::pair<std::string_view, CatalogueValue>);
}

void BatchLog::Clear() {
    m_records.clear();
    m_catalogue.clear();
    m_arena.release();
    m_arenaBytes = 0;
}

std::string_view BatchLog::Keep(std::string_view text) {
    auto* const kept = static_cast<char*>(m_arena.allocate(text.size() + 1, 1));
    m_arenaBytes += text.size();
    std::copy(text.begin(), text.end(), kept);
    return {kept, text.size()};
}

}  // namespace vexa::vxdependency
