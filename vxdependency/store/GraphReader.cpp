#include "vxdependency/store/GraphReader.h"

#include <algorithm>
#include <unordered_set>

#include "vxdependency/store/EdgeReader.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/WholeGraph.h"

namespace vexa::vxdependency {

std::vector<std::string> GraphReader::Edges(const std::string& key, Direction direction) const {
    m_store->FlushOwnBatch();
    return EdgeReader(m_store->Database()).EdgesOf(key, direction);
}

std::vector<std::string> GraphReader::Reachable(const std::string& key, Direction direction) const {
    m_store->FlushOwnBatch();
    EdgeReader reader(m_store->Database());
    std::unordered_set<std::string> reached;
    std::vector<std::string> waiting = {key};
    while (!waiting.empty()) {
        const std::string next = std::move(waiting.back());
        waiting.pop_back();
        for (std::string& end : reader.EdgesOf(next, direction)) {
            if (reached.insert(end).second) waiting.push_back(std::move(end));
        }
    }
    std::vector<std::string> sorted(reached.begin(), reached.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

namespace {

void VisitEdges(const WholeGraph& graph, const GraphReader::VisitInPlace& visit) {
    const WholeGraph::EdgeTable& edges = graph.Edges();
    std::size_t first = 0;
    const GraphReader::EdgeAt edgeAt = [&](std::size_t i) {
        constexpr std::size_t kAhead = 16;
        const std::size_t at = first + i;
        if (at + 2 * kAhead < edges.size()) {
            graph.PrefetchPlace(edges[at + 2 * kAhead].second);
            graph.PrefetchName(edges[at + kAhead].second);
        }
        return graph.NameOf(edges[at].second);
    };
    while (first < edges.size()) {
        const WholeGraph::Node from = edges[first].first;
        std::size_t end = first + 1;
        while (end < edges.size() && edges[end].first == from) ++end;
        visit(graph.NameOf(from), end - first, edgeAt);
        first = end;
    }
}

}  // namespace

void GraphReader::ForEach(Direction direction, const Visit& visit) const {
    std::vector<std::string> edges;
    const auto visitCopies = [&](std::string_view key, std::size_t count, const EdgeAt& edgeAt) {
        edges.resize(count);
        for (std::size_t i = 0; i < count; ++i) edges[i] = edgeAt(i);
        visit(std::string(key), edges);
    };
    VisitEdges(WholeGraph(*m_store, direction), visitCopies);
}

void GraphReader::ForEach(const VisitInPlace& forward, const VisitInPlace& inverse) const {
    WholeGraph graph(*m_store, Direction::Forward);
    VisitEdges(graph, forward);
    graph.Transpose();
    VisitEdges(graph, inverse);
}

std::map<std::string, std::size_t> GraphReader::Popularity() const {
    const WholeGraph graph(*m_store, Direction::Inverse);
    std::map<std::string, std::size_t> counts;
    for (const auto& [to, from] : graph.Edges()) ++counts[std::string(graph.NameOf(to))];
    return counts;
}

}  // namespace vexa::vxdependency
