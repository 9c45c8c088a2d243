#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vexa/db/VXDatabase.h"
#include "vxdependency/store/EntryList.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/RecordTable.h"

namespace vexa::vxdependency {

Direction Opposite(Direction direction);

// The record of a list.
struct ListRecord {
    ListRecord(std::string_view listKey, Direction listDirection);
    ListRecord(std::string_view listKey, Direction listDirection, RecordId listId)
        : key(listKey), direction(listDirection), id(listId) {}

    std::string_view key;  // must outlive the object
    Direction direction;
    RecordId id;
};

// Reads lists and confirmed edges of one state of the store.
class EdgeReader {
public:
    // A store that cannot be read is logged, and counts as empty.
    explicit EdgeReader(VXDatabase& database);

    // Calls `visit` with the key of every file of the catalogue.
    void ForEachFile(const std::function<void(std::string_view)>& visit) const;

    // Calls `read` with the text of a list where it lies, unless there is none.
    void VisitList(const ListRecord& record,
                   const std::function<void(std::string_view)>& read) const;

    // The same for many, by their numbers, in the order of the table: they are found more quickly
    // then. `read` gets the number of each that there is; `recordAt` is asked for what is no list.
    void VisitLists(std::size_t count, const std::function<RecordId(std::size_t)>& idAt,
                    const std::function<ListRecord(std::size_t)>& recordAt,
                    const std::function<void(std::size_t, std::string_view)>& read) const;

    // The other ends of the edges of `key`, sorted.
    std::vector<std::string> EdgesOf(const std::string& key, Direction direction);

    // Whether an entry of the forward list of `from` is confirmed.
    bool IsEdge(std::string_view from, std::string_view to) {
        return Confirms({to, Direction::Inverse}, from);
    }

private:
    std::vector<std::string> ConfirmedOf(std::string_view list, std::string_view key,
                                         Direction back);
    bool Confirms(const ListRecord& record, std::string_view entry);
    void ReportNoList(const ListRecord& record, std::string_view value) const;

    VXDatabase& m_database;
    ReadTransaction m_transaction;
    // Long lists by their records: in a walk, thousands of nodes look into the same ones.
    std::unordered_map<RecordId, EntryList> m_longLists;
};

}  // namespace vexa::vxdependency
