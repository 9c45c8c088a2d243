#pragma once

#include <tsl/robin_map.h>

#include <cstdint>
#include <functional>
#include <memory_resource>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vxdependency/store/EdgeReader.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"

namespace vexa::vxdependency {

// All confirmed edges of one state of the store, as pairs of node numbers. The nodes are the files
// of the catalogue and whatever their lists lead to, either way; the records alone do not tell
// their keys. Time and memory are in proportion to the edges and names, which may be ten million
// and a million.
class WholeGraph {
public:
    using Node = std::uint32_t;  // in the order of the names
    using Edge = std::pair<Node, Node>;

    // Edges run from the node whose list in `direction` it is; sorted.
    WholeGraph(GeneralDependency& store, Direction direction);

    // Turns every edge around.
    void Transpose();

    const std::vector<Edge>& Edges() const { return m_edges; }
    std::string_view NameOf(Node node) const { return m_names[node]; }

private:
    // XXH3; kept with each name, since a second look at the name costs more than all else.
    struct Hash {
        std::size_t operator()(std::string_view name) const;
    };
    using Numbers = tsl::robin_map<std::string_view, Node, Hash, std::equal_to<>,
                                   std::allocator<std::pair<std::string_view, Node>>, true>;

    void ReadLists(GeneralDependency& store, Direction direction);
    void ReadListsFrom(const EdgeReader& reader, Direction direction, Node first);
    void AddPairs(Node node, std::string_view list, bool swapped, std::vector<Edge>& pairs);
    Node NodeOf(std::string_view name);
    void SortNodes();
    void KeepConfirmed();

    std::pmr::monotonic_buffer_resource m_room;  // of the names
    std::vector<std::string_view> m_found;       // in the order in which they were met
    Numbers m_numbers;                           // in that order
    std::vector<std::string_view> m_names;
    std::vector<Edge> m_edges;
    std::vector<Edge> m_opposite;  // the same edges, as the other ends' lists tell
};

}  // namespace vexa::vxdependency
