#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "vexa/common/Prefetch.h"
#include "vxdependency/store/EdgeReader.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/NameTable.h"

namespace vexa::vxdependency {

// All confirmed edges of one state of the store, as pairs of node numbers. The nodes are the files
// of the catalogue and whatever their lists lead to, either way; the records alone do not tell
// their keys. Time and memory are in proportion to the edges and names, which may be ten million
// and a million.
class WholeGraph {
public:
    using Node = NameTable::Number;  // in the order of the names
    using Edge = std::pair<Node, Node>;
    using EdgeTable = os::LargeTable<Edge>;

    // Edges run from the node whose list in `direction` it is; sorted.
    WholeGraph(GeneralDependency& store, Direction direction);

    // Turns every edge around.
    void Transpose();

    const EdgeTable& Edges() const { return m_edges; }
    std::string_view NameOf(Node node) const { return m_names[node]; }

    // Begin to fetch the name of a node, which lies anywhere in memory; the first comes well before
    // the second.
    void PrefetchPlace(Node node) const { Prefetch(&m_names[node]); }
    void PrefetchName(Node node) const { PrefetchText(m_names[node]); }

private:
    void ReadLists(GeneralDependency& store, Direction direction);
    void ReadListsFrom(EdgeReader& reader, Direction direction, Node first);
    void SortNodes();
    void KeepConfirmed();

    NameTable m_found;  // numbers the nodes until they are sorted
    os::LargeTable<std::string_view> m_names;
    EdgeTable m_edges;
    EdgeTable m_opposite;  // the same edges, as the other ends' lists tell
    EdgeTable m_spare;     // for sorting
};

}  // namespace vexa::vxdependency
