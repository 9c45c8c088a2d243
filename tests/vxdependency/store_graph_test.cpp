#include <gmock/gmock.h>

#include <map>
#include <random>
#include <set>

#include "tests/vxdependency/store_support.h"
#include "vexa/common/InterfaceBox.h"
#include "vxdependency/store/GraphReader.h"

namespace vexa::vxdependency::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Graph = std::map<std::string, std::set<std::string>>;

Graph Transposed(const Graph& graph) {
    Graph transposed;
    for (const auto& [from, ends] : graph) {
        for (const std::string& to : ends) transposed[to].insert(from);
    }
    return transposed;
}

std::vector<std::string> Sorted(const std::set<std::string>& set) {
    return {set.begin(), set.end()};
}

std::vector<std::string> ReachableIn(const Graph& graph, const std::string& from) {
    std::set<std::string> reached;
    std::vector<std::string> waiting = {from};
    while (!waiting.empty()) {
        const auto ends = graph.find(waiting.back());
        waiting.pop_back();
        if (ends == graph.end()) continue;
        for (const std::string& end : ends->second) {
            if (reached.insert(end).second) waiting.push_back(end);
        }
    }
    return Sorted(reached);
}

class GraphReaderTest : public StoreTest {
protected:
    void Store(const Graph& graph) {
        StoreBatch batch(&m_store);
        ASSERT_TRUE(m_store.Clear());
        for (const auto& [from, ends] : graph) {
            ASSERT_TRUE(m_store.SetDependency(from, Sorted(ends), 3));
            ASSERT_TRUE(m_store.SetFile(from, {}));
        }
    }
    Graph Export(Direction direction) {
        Graph graph;
        m_reader.ForEach(direction, [&](const std::string& key, const List& edges) {
            if (!graph.empty()) {
                EXPECT_LT(graph.rbegin()->first, key);
            }
            graph[key] = {edges.begin(), edges.end()};
            EXPECT_EQ(Sorted(graph[key]), edges);
        });
        return graph;
    }
    // All the ways to ask give the graph, which has no node without edges.
    void ExpectGraph(const Graph& forward) {
        const Graph inverse = Transposed(forward);
        ASSERT_EQ(Export(Direction::Forward), forward);
        ASSERT_EQ(Export(Direction::Inverse), inverse);
        std::map<std::string, std::size_t> popularity;
        for (const auto& [to, ends] : inverse) popularity[to] = ends.size();
        ASSERT_EQ(m_reader.Popularity(), popularity);
        for (const std::string key : {"a", "b", "c"}) {
            for (const auto& [graph, direction] :
                 {std::pair(forward, Direction::Forward), std::pair(inverse, Direction::Inverse)}) {
                const auto ends = graph.find(key);
                ASSERT_EQ(m_reader.Edges(key, direction),
                          ends == graph.end() ? List() : Sorted(ends->second));
                ASSERT_EQ(m_reader.Reachable(key, direction), ReachableIn(graph, key));
            }
        }
    }

    const GraphReader m_reader{&m_store};
};

TEST_F(GraphReaderTest, EveryGraphOfThreeFiles) {
    const std::string names[] = {"a", "b", "c"};
    for (unsigned bits = 0; bits < 512; ++bits) {
        Graph graph;
        for (unsigned edge = 0; edge < 9; ++edge) {
            if (bits >> edge & 1) graph[names[edge / 3]].insert(names[edge % 3]);
        }
        ASSERT_NO_FATAL_FAILURE(Store(graph));
        ASSERT_NO_FATAL_FAILURE(ExpectGraph(graph)) << bits;
    }
}

TEST_F(GraphReaderTest, EdgesThatOnlyOneEndHoldsAreHidden) {
    ASSERT_TRUE(m_store.AddDependency("a", List{"b", "c"}, 3));
    ASSERT_TRUE(m_store.SetDependency("a", {"c"}, 3));       // "b" still holds "a"
    ASSERT_TRUE(m_store.RemoveInverseDependency("c", "a"));  // "a" still holds "c"
    ASSERT_TRUE(m_store.AddDependency("b", List{"c"}, 3));
    for (const char* file : {"a", "b", "c"}) ASSERT_TRUE(m_store.SetFile(file, {}));
    ExpectGraph({{"b", {"c"}}});
}

TEST_F(GraphReaderTest, OwnBatchIsFlushedFirst) {
    StoreBatch batch(&m_store);
    ASSERT_TRUE(m_store.AddDependency("a", "b", 3) && m_store.SetFile("a", {}));
    EXPECT_EQ(Export(Direction::Forward), (Graph{{"a", {"b"}}}));
    ASSERT_TRUE(m_store.AddDependency("a", "c", 3));
    EXPECT_THAT(m_reader.Edges("c", Direction::Inverse), ElementsAre("a"));
}

TEST_F(GraphReaderTest, CollisionsNameBothTexts) {
    std::vector<std::string> keys;
    for (int i = 0; i < 100000; ++i) keys.push_back("textures/t" + std::to_string(i) + ".dds");
    keys.push_back(keys.front());  // the same text twice is none
    const auto pairs = FindCollisions(keys);
    std::set<std::string> texts;
    for (const std::string& key : keys) {
        texts.insert({key, InverseText(key),
                      StampText(InterfaceBox::Instance().GetFileService().AbsolutePath(key))});
    }
    std::map<RecordId, std::vector<std::string>> byId;
    for (const std::string& text : texts) byId[IdOf(text)].push_back(text);
    std::vector<std::pair<std::string, std::string>> expected;
    for (const auto& [id, same] : byId) {
        if (same.size() == 2) expected.emplace_back(same[0], same[1]);
    }
    EXPECT_THAT(expected, Not(IsEmpty()));
    EXPECT_THAT(pairs, ::testing::UnorderedElementsAreArray(expected));
}

}  // namespace
}  // namespace vexa::vxdependency::test
