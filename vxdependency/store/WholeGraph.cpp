#include "vxdependency/store/WholeGraph.h"

#include <algorithm>
#include <numeric>

#include "vxdependency/store/EdgeReader.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vexa::vxdependency {
namespace {

void SortUnique(std::vector<WholeGraph::Edge>& edges) {
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
}

}  // namespace

WholeGraph::WholeGraph(GeneralDependency& store, Direction direction) {
    store.FlushOwnBatch();
    ReadLists(store, direction);
    KeepConfirmed();
    SortNodes();
}

void WholeGraph::Transpose() {
    for (auto& [from, to] : m_edges) std::swap(from, to);
    std::sort(m_edges.begin(), m_edges.end());
}

void WholeGraph::ReadLists(GeneralDependency& store, Direction direction) {
    const EdgeReader reader(store.Database());
    reader.ForEachFile([this](std::string_view key) { NodeOf(key); });
    const Direction opposite = Opposite(direction);
    for (std::size_t node = 0; node < m_found.size(); ++node) {
        const auto number = static_cast<Node>(node);
        const std::string& name = m_found[node];
        AddPairs(number, reader.ListOf(name, direction), false, m_edges);
        AddPairs(number, reader.ListOf(name, opposite), true, m_opposite);
    }
    m_numbers = {};
}

void WholeGraph::AddPairs(Node node, std::string_view list, bool swapped,
                          std::vector<Edge>& pairs) {
    for (std::size_t end; (end = list.find('#')) != std::string_view::npos;
         list.remove_prefix(end + 1)) {
        const Node other = NodeOf(list.substr(0, end));
        pairs.push_back(swapped ? Edge(other, node) : Edge(node, other));
    }
}

WholeGraph::Node WholeGraph::NodeOf(std::string_view name) {
    const auto known = m_numbers.find(name);
    if (known != m_numbers.end()) return known->second;
    const auto number = static_cast<Node>(m_found.size());
    m_numbers.emplace(m_found.emplace_back(name), number);
    return number;
}

void WholeGraph::KeepConfirmed() {
    SortUnique(m_edges);
    SortUnique(m_opposite);
    auto other = m_opposite.cbegin();
    const auto unconfirmed = [&](const Edge& edge) {
        while (other != m_opposite.cend() && *other < edge) ++other;
        return other == m_opposite.cend() || *other != edge;
    };
    std::erase_if(m_edges, unconfirmed);
    m_opposite = {};
}

// Numbers the nodes anew, in the order of their names.
void WholeGraph::SortNodes() {
    std::vector<Node> order(m_found.size());
    std::iota(order.begin(), order.end(), Node{0});
    std::sort(order.begin(), order.end(),
              [this](Node left, Node right) { return m_found[left] < m_found[right]; });
    std::vector<Node> rank(order.size());
    m_names.resize(order.size());
    for (Node node = 0; node < order.size(); ++node) {
        rank[order[node]] = node;
        m_names[node] = &m_found[order[node]];
    }
    for (auto& [from, to] : m_edges) {
        from = rank[from];
        to = rank[to];
    }
    std::sort(m_edges.begin(), m_edges.end());
}

}  // namespace vexa::vxdependency
