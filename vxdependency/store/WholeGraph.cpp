#include "vxdependency/store/WholeGraph.h"

#include <xxhash.h>

#include <algorithm>
#include <numeric>

namespace vexa::vxdependency {
namespace {

using Node = WholeGraph::Node;
using Edge = WholeGraph::Edge;

// Sorts by one end, and keeps the order of edges that have it in common.
void SortByEnd(std::vector<Edge>& edges, Node Edge::*end, std::size_t nodes) {
    std::vector<std::size_t> places(nodes + 1);
    for (const Edge& edge : edges) ++places[edge.*end + 1];
    std::partial_sum(places.begin(), places.end(), places.begin());
    std::vector<Edge> sorted(edges.size());
    for (const Edge& edge : edges) sorted[places[edge.*end]++] = edge;
    edges = std::move(sorted);
}

void SortUnique(std::vector<Edge>& edges, std::size_t nodes) {
    SortByEnd(edges, &Edge::second, nodes);
    SortByEnd(edges, &Edge::first, nodes);
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
}

}  // namespace

std::size_t WholeGraph::Hash::operator()(std::string_view name) const {
    return XXH3_64bits(name.data(), name.size());
}

WholeGraph::WholeGraph(GeneralDependency& store, Direction direction) {
    store.FlushOwnBatch();
    ReadLists(store, direction);
    SortNodes();
    KeepConfirmed();
}

void WholeGraph::Transpose() {
    for (auto& [from, to] : m_edges) std::swap(from, to);
    SortByEnd(m_edges, &Edge::first, m_names.size());
}

void WholeGraph::ReadLists(GeneralDependency& store, Direction direction) {
    const EdgeReader reader(store.Database());
    reader.ForEachFile([this](std::string_view key) { NodeOf(key); });
    for (std::size_t first = 0; first < m_found.size();) {
        const std::size_t end = m_found.size();
        ReadListsFrom(reader, direction, static_cast<Node>(first));
        first = end;
    }
    m_numbers = {};
}

// Reads the lists of the nodes from one on, in the order of the table.
void WholeGraph::ReadListsFrom(const EdgeReader& reader, Direction direction, Node first) {
    struct Request {
        RecordId record;
        Node node;
        bool opposite;
    };
    std::vector<Request> requests;
    requests.reserve(2 * (m_found.size() - first));
    for (Node node = first; node < m_found.size(); ++node) {
        requests.push_back({ListRecord(m_found[node], direction).id, node, false});
        requests.push_back({ListRecord(m_found[node], Opposite(direction)).id, node, true});
    }
    std::ranges::sort(requests, StandsBefore, &Request::record);
    for (const auto& [record, node, opposite] : requests) {
        const auto add = [&, node = node, opposite = opposite](std::string_view list) {
            AddPairs(node, list, opposite, opposite ? m_opposite : m_edges);
        };
        reader.VisitList({m_found[node], opposite ? Opposite(direction) : direction, record}, add);
    }
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
    const std::size_t hash = Hash()(name);
    const auto known = m_numbers.find(name, hash);
    if (known != m_numbers.end()) return known->second;
    const auto number = static_cast<Node>(m_found.size());
    char* const room = static_cast<char*>(m_room.allocate(name.size(), 1));
    name.copy(room, name.size());
    m_numbers.emplace(m_found.emplace_back(room, name.size()), number);
    return number;
}

// Numbers the nodes anew, in the order of their names. The catalogue has told most of them in that
// order.
void WholeGraph::SortNodes() {
    std::vector<Node> order(m_found.size());
    std::iota(order.begin(), order.end(), Node{0});
    const auto byName = [this](Node left, Node right) { return m_found[left] < m_found[right]; };
    const auto rest = std::is_sorted_until(order.begin(), order.end(), byName);
    std::sort(rest, order.end(), byName);
    std::inplace_merge(order.begin(), rest, order.end(), byName);
    std::vector<Node> rank(order.size());
    m_names.resize(order.size());
    for (Node node = 0; node < order.size(); ++node) {
        rank[order[node]] = node;
        m_names[node] = m_found[order[node]];
    }
    m_found = {};
    for (std::vector<Edge>* const edges : {&m_edges, &m_opposite}) {
        for (auto& [from, to] : *edges) {
            from = rank[from];
            to = rank[to];
        }
    }
}

void WholeGraph::KeepConfirmed() {
    SortUnique(m_edges, m_names.size());
    SortUnique(m_opposite, m_names.size());
    auto other = m_opposite.cbegin();
    const auto unconfirmed = [&](const Edge& edge) {
        while (other != m_opposite.cend() && *other < edge) ++other;
        return other == m_opposite.cend() || *other != edge;
    };
    std::erase_if(m_edges, unconfirmed);
    m_opposite = {};
}

}  // namespace vexa::vxdependency
