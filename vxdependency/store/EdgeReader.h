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

// Reads lists and confirmed edges of one state of the store.
class EdgeReader {
public:
    // A store that cannot be read is logged, and counts as empty.
    explicit EdgeReader(VXDatabase& database);

    // Calls `visit` with the key of every file of the catalogue.
    void ForEachFile(const std::function<void(std::string_view)>& visit) const;

    // The text of a list; empty when there is none.
    std::string ListOf(const std::string& key, Direction direction) const;

    // The other ends of the edges of `key`, sorted.
    std::vector<std::string> EdgesOf(const std::string& key, Direction direction);

private:
    bool Confirms(const std::string& key, Direction direction, std::string_view entry);

    VXDatabase& m_database;
    ReadTransaction m_transaction;
    // Long lists by the text of their record: in a walk, thousands of nodes look into the same
    // ones.
    std::unordered_map<std::string, EntryList> m_longLists;
};

}  // namespace vexa::vxdependency
