#include "vxdependency/store/GraphReader.h"

#include <algorithm>
#include <iterator>
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

// A list that keeps the room of its strings for the next one: otherwise that is a fifth of an
// export.
class Refilled {
public:
    const std::vector<std::string>& Get() const { return m_list; }
    void Add(std::string_view text) {
        if (m_spare.empty()) {
            m_list.emplace_back(text);
            return;
        }
        m_list.push_back(std::move(m_spare.back()));
        m_spare.pop_back();
        m_list.back().assign(text);
    }
    void Clear() {
        std::ranges::move(m_list, std::back_inserter(m_spare));
        m_list.clear();
    }

private:
    std::vector<std::string> m_list;
    std::vector<std::string> m_spare;
};

void VisitEdges(const WholeGraph& graph, const GraphReader::Visit& visit) {
    const std::vector<WholeGraph::Edge>& edges = graph.Edges();
    Refilled ends;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const WholeGraph::Node from = edges[i].first;
        ends.Add(graph.NameOf(edges[i].second));
        if (i + 1 < edges.size() && edges[i + 1].first == from) continue;
        visit(std::string(graph.NameOf(from)), ends.Get());
        ends.Clear();
    }
}

}  // namespace

void GraphReader::ForEach(Direction direction, const Visit& visit) const {
    VisitEdges(WholeGraph(*m_store, direction), visit);
}

void GraphReader::ForEach(const Visit& forward, const Visit& inverse) const {
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
