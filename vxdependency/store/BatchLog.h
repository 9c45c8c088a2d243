#pragma once

#include <tsl/robin_map.h>

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <optional>
#include <string_view>
#include <vector>

#include "vxdependency/store/RecordId.h"
#include "vxdependency/store/RecordState.h"

namespace vexa::vxdependency {

// What a batch has written and the tables do not hold yet: the operations on each dependency record
// in the order of their calls, and the last value of each record of the catalogue.
//
// All of it lies in one arena, which is given back as a whole. A scan logs a dozen operations per
// file; kept as strings of their own they cost more time to allocate than to apply.
class BatchLog {
public:
    // An operation; its text follows in memory.
    struct Operation {
        const Operation* next;
        std::uint32_t length;
        RecordOperation kind;

        std::string_view Text() const { return {reinterpret_cast<const char*>(this + 1), length}; }
    };
    // The operations on one record.
    struct Record {
        const Operation* first = nullptr;
        Operation* last = nullptr;

        void Replay(RecordState& state) const;
        // The value, where the record as it stands in the table does not matter for it.
        std::optional<std::string_view> PlainValue() const;
        // The entries, where nothing is done but adding some to a list, and none holds "#".
        std::optional<std::vector<std::string_view>> AddedEntries() const;
    };
    using CatalogueValue = std::optional<std::string_view>;  // nothing: the record is deleted

    BatchLog();

    void Append(RecordId id, RecordOperation kind, std::string_view text);
    const Record* Find(RecordId id) const;
    // The records in the order of the table.
    std::vector<std::pair<RecordId, Record>> Sorted() const;

    void SetCatalogue(std::string_view key, CatalogueValue value);
    const CatalogueValue* FindCatalogue(std::string_view key) const;
    std::vector<std::pair<std::string_view, CatalogueValue>> SortedCatalogue() const;

    std::size_t RecordCount() const { return m_records.size() + m_catalogue.size(); }
    // The memory in use, about.
    std::size_t Bytes() const;
    void Clear();

private:
    std::string_view Keep(std::string_view text);

    std::pmr::monotonic_buffer_resource m_arena;
    std::size_t m_arenaBytes = 0;
    tsl::robin_map<RecordId, Record> m_records;
    tsl::robin_map<std::string_view, CatalogueValue, std::hash<std::string_view>> m_catalogue;
};

}  // namespace vexa::vxdependency
