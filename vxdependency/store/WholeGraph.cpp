#include "vxdependency/store/WholeGraph.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace vexa::vxdependency {
namespace {

using Node = WholeGraph::Node;
using Edge = WholeGraph::Edge;
using EdgeTable = WholeGraph::EdgeTable;

// Sorts by a part of one end, and keeps the order of edges that have it in common.
constexpr unsigned kPartBits = 11;

void SortByPart(EdgeTable& edges, Node Edge::*end, unsigned shift, EdgeTable& spare) {
    constexpr Node kMask = (Node{1} << kPartBits) - 1;
    std::array<std::size_t, kMask + 2> places{};
    for (const Edge& edge : edges) ++places[(edge.*end >> shift & kMask) + 1];
    std::partial_sum(places.begin(), places.end(), places.begin());
    spare.resize(edges.size());
    for (const Edge& edge : edges) spare[places[edge.*end >> shift & kMask]++] = edge;
    edges.swap(spare);
}

// The same by all of it, part by part: so each time few places are written to, and all of them stay
// in the caches. One for each node would be a million.
void SortByEnd(EdgeTable& edges, Node Edge::*end, std::size_t nodes, EdgeTable& spare) {
    for (unsigned shift = 0; nodes >> shift != 0; shift += kPartBits)
        SortByPart(edges, end, shift, spare);
}

void SortUnique(EdgeTable& edges, std::size_t nodes, EdgeTable& spare) {
    SortByEnd(edges, &Edge::second, nodes, spare);
    SortByEnd(edges, &Edge::first, nodes, spare);
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
}

// Makes edges of the entries of lists, which it keeps until there are enough to be looked up.
class EdgeMaker {
public:
    EdgeMaker(NameTable& names, EdgeTable& edges, EdgeTable& opposite)
        : m_names(names), m_edges(edges), m_opposite(opposite) {}

    // The list ends with the call.
    void Add(Node node, std::string_view list, bool opposite) {
        const std::size_t begin = m_text.size();
        m_text += list;
        for (std::size_t at = begin, end; (end = m_text.find('#', at)) != std::string::npos;
             at = end + 1)
            m_entries.push_back({at, end - at, node, opposite});
        if (m_entries.size() >= kEnough) Make();
    }
    void Make() {
        const std::string_view text = m_text;
        m_texts.clear();
        for (const Entry& entry : m_entries) m_texts.push_back(text.substr(entry.at, entry.size));
        m_numbers.resize(m_entries.size());
        m_names.NumbersOf(m_texts, m_numbers.data());
        for (std::size_t i = 0; i < m_entries.size(); ++i) {
            const Node node = m_entries[i].node;
            if (m_entries[i].opposite) {
                m_opposite.emplace_back(m_numbers[i], node);
            } else {
                m_edges.emplace_back(node, m_numbers[i]);
            }
        }
        m_entries.clear();
        m_text.clear();
    }

private:
    struct Entry {
        std::size_t at;
        std::size_t size;
        Node node;
        bool opposite;
    };
    static constexpr std::size_t kEnough = 256;

    NameTable& m_names;
    EdgeTable& m_edges;
    EdgeTable& m_opposite;
    std::string m_text;  // of the lists that are waiting
    std::vector<Entry> m_entries;
    std::vector<std::string_view> m_texts;
    std::vector<Node> m_numbers;
};

}  // namespace

WholeGraph::WholeGraph(GeneralDependency& store, Direction direction) {
    store.FlushOwnBatch();
    ReadLists(store, direction);
    SortNodes();
    KeepConfirmed();
}

void WholeGraph::Transpose() {
    for (auto& [from, to] : m_edges) std::swap(from, to);
    SortByEnd(m_edges, &Edge::first, m_names.size(), m_spare);
}

void WholeGraph::ReadLists(GeneralDependency& store, Direction direction) {
    EdgeReader reader(store.Database());
    reader.ForEachFile([this](std::string_view key) { m_found.NumberOf(key); });
    for (std::size_t first = 0; first < m_found.Names().size();) {
        const std::size_t end = m_found.Names().size();
        ReadListsFrom(reader, direction, static_cast<Node>(first));
        first = end;
    }
    m_found.Close();
}

// Reads the lists of the nodes from one on, in the order of the table.
void WholeGraph::ReadListsFrom(EdgeReader& reader, Direction direction, Node first) {
    struct Request {
        RecordId record;
        Node node;
        bool opposite;
    };
    std::vector<Request> requests;
    const auto end = static_cast<Node>(m_found.Names().size());
    requests.reserve(2 * std::size_t{end - first});
    for (Node node = first; node < end; ++node) {
        const std::string_view name = m_found.Names()[node];
        requests.push_back({ListRecord(name, direction).id, node, false});
        requests.push_back({ListRecord(name, Opposite(direction)).id, node, true});
    }
    std::ranges::sort(requests, StandsBefore, &Request::record);
    EdgeMaker maker(m_found, m_edges, m_opposite);
    const auto recordAt = [&](std::size_t i) {
        const auto& [record, node, opposite] = requests[i];
        return ListRecord(m_found.Names()[node], opposite ? Opposite(direction) : direction,
                          record);
    };
    const auto idAt = [&](std::size_t i) { return requests[i].record; };
    reader.VisitLists(requests.size(), idAt, recordAt, [&](std::size_t i, std::string_view list) {
        maker.Add(requests[i].node, list, requests[i].opposite);
    });
    maker.Make();
}

// Numbers the nodes anew, in the order of their names. The catalogue has told most of them in that
// order.
void WholeGraph::SortNodes() {
    const os::LargeTable<std::string_view>& found = m_found.Names();
    std::vector<Node> order(found.size());
    std::iota(order.begin(), order.end(), Node{0});
    const auto byName = [&found](Node left, Node right) { return found[left] < found[right]; };
    const auto rest = std::is_sorted_until(order.begin(), order.end(), byName);
    std::sort(rest, order.end(), byName);
    std::inplace_merge(order.begin(), rest, order.end(), byName);
    os::LargeTable<Node> rank(order.size());
    m_names.resize(order.size());
    for (Node node = 0; node < order.size(); ++node) {
        rank[order[node]] = node;
        m_names[node] = found[order[node]];
    }
    for (EdgeTable* const edges : {&m_edges, &m_opposite}) {
        for (auto& [from, to] : *edges) {
            from = rank[from];
            to = rank[to];
        }
    }
}

void WholeGraph::KeepConfirmed() {
    SortUnique(m_edges, m_names.size(), m_spare);
    SortUnique(m_opposite, m_names.size(), m_spare);
    auto other = m_opposite.cbegin();
    const auto unconfirmed = [&](const Edge& edge) {
        while (other != m_opposite.cend() && *other < edge) ++other;
        return other == m_opposite.cend() || *other != edge;
    };
    std::erase_if(m_edges, unconfirmed);
    m_opposite = {};
}

}  // namespace vexa::vxdependency
