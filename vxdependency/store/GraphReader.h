#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vexa/Export.h"

namespace vexa::vxdependency {

class GeneralDependency;

enum class Direction { Forward, Inverse };

// Reads the graph that the records tell of. An edge from A to B counts only when both of its
// records hold it: B in the forward list of A and A in the inverse list of B. That leaves out the
// list that a file keeps after it lost its last reference, and what two keys of one id mix up. All
// keys are resource keys; all results are sorted by byte and hold each key once. Each operation
// sees one committed state of the store, after what the calling thread's own batch holds has been
// flushed. Any thread may call. A store that cannot be read is logged and counts as empty.
class VX_API GraphReader {
public:
    explicit GraphReader(GeneralDependency* store) : m_store(store) {}

    std::vector<std::string> Edges(const std::string& key, Direction direction) const;

    // Everything that can be reached from `key`, without itself unless it is reached again.
    std::vector<std::string> Reachable(const std::string& key, Direction direction) const;

    // The whole graph: calls `visit` for every key that has edges in `direction`, in order.
    using Visit =
        std::function<void(const std::string& key, const std::vector<std::string>& edges)>;
    void ForEach(Direction direction, const Visit& visit) const;
    // Both directions of one state: all of the forward one, then all of the inverse one. Names are
    // not copied; those of a million files lie anywhere in memory, so that a list is read through
    // `edgeAt`, best from 0 to `count` - 1, which has the next ones fetched. All ends with the
    // call.
    using EdgeAt = std::function<std::string_view(std::size_t)>;
    using VisitInPlace =
        std::function<void(std::string_view key, std::size_t count, const EdgeAt& edgeAt)>;
    void ForEach(const VisitInPlace& forward, const VisitInPlace& inverse) const;

    // The number of edges into each resource that has any.
    std::map<std::string, std::size_t> Popularity() const;

private:
    GeneralDependency* m_store;
};

// Pairs of different texts, made from the keys as the store makes them, whose record ids are equal.
VX_API std::vector<std::pair<std::string, std::string>> FindCollisions(
    const std::vector<std::string>& keys);
// The same for keys that are asked for by their number.
using KeySource = std::function<std::string_view(std::size_t)>;
VX_API std::vector<std::pair<std::string, std::string>> FindCollisions(std::size_t count,
                                                                       const KeySource& keyAt);

}  // namespace vexa::vxdependency
