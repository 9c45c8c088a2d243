#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"

namespace vexa::vxdependency {

// All confirmed edges of one state of the store, as pairs of node numbers. The nodes are the files
// of the catalogue and whatever their lists lead to, either way; the records alone do not tell
// their keys.
class WholeGraph {
public:
    using Node = std::uint32_t;  // in the order of the names
    using Edge = std::pair<Node, Node>;

    // Edges run from the node whose list in `direction` it is; sorted.
    WholeGraph(GeneralDependency& store, Direction direction);

    // Turns every edge around.
    void Transpose();

    const std::vector<Edge>& Edges() const { return m_edges; }
    const std::string& NameOf(Node node) const { return *m_names[node]; }

private:
    void ReadLists(GeneralDependency& store, Direction direction);
    void AddPairs(Node node, std::string_view list, bool swapped, std::vector<Edge>& pairs);
    Node NodeOf(std::string_view name);
    void KeepConfirmed();
    void SortNodes();

    std::deque<std::string> m_found;  // in the order in which they were met; addresses stay
    std::unordered_map<std::string_view, Node> m_numbers;  // in that order
    std::vector<const std::string*> m_names;
    std::vector<Edge> m_edges;
    std::vector<Edge> m_opposite;  // the same edges, as the other ends' lists tell
};

}  // namespace vexa::vxdependency
