// What the manager does so that no reference is lost where two texts share a record of the store.

#include <algorithm>
#include <set>
#include <unordered_set>

#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/RecordTable.h"
#include "vxdependency/store/SharedRecords.h"

namespace vexa {

using vxdependency::Direction;
using vxdependency::ForwardId;
using vxdependency::GeneralDependency;
using vxdependency::GraphReader;
using vxdependency::InverseId;
using vxdependency::SharedIds;
using List = CDependencyManager::List;

namespace {

GeneralDependency& Store() {
    return *GeneralDependency::Instance();
}

List Sorted(const std::set<std::string>& names) {
    return {names.begin(), names.end()};
}

}  // namespace

// What has its place in a record that goes with one of the keys is to be stored again.
void CDependencyManager::AddSharing(const List& keys, List& affected) {
    const vxdependency::SharedRecords shared = vxdependency::FindSharedRecords(Store(), keys);
    std::unordered_set<std::string> known(keys.begin(), keys.end());
    known.insert(affected.begin(), affected.end());
    const auto add = [&](const std::string& file) {
        if (known.insert(file).second) affected.push_back(file);
    };
    for (const auto& edge : shared.users) add(edge.second);
    std::ranges::for_each(shared.lists, add);
    std::ranges::for_each(shared.unreadLists, add);
}

// Whether a file, as it is on the disk, refers to one of some resources.
bool CDependencyManager::Names(const std::string& file,
                               const std::unordered_set<std::string>& resources) {
    const auto reading = ReadReferences(file);
    return reading && std::ranges::any_of(reading->list, [&](const std::string& entry) {
               return resources.contains(entry);
           });
}

List CDependencyManager::UsersOf(const List& keys) {
    const vxdependency::SharedRecords shared = vxdependency::FindSharedRecords(Store(), keys);
    const GraphReader reader(&Store());
    std::set<std::string> users;
    for (const std::string& key : keys) {
        const List edges = reader.Edges(key, Direction::Inverse);
        users.insert(edges.begin(), edges.end());
    }
    // Of what is no edge, one of its lists may have been lost: the file itself tells.
    List recorded = shared.unreadLists;
    for (const std::string& key : keys) Store().GetInverseDependency(key, recorded);
    for (const auto& edge : shared.users) recorded.push_back(edge.second);
    const std::unordered_set<std::string> doubtful(recorded.begin(), recorded.end());
    const std::unordered_set<std::string> resources(keys.begin(), keys.end());
    for (const std::string& file : doubtful) {
        if (!users.contains(file) && Names(file, resources)) users.insert(file);
    }
    return Sorted(users);
}

List CDependencyManager::EdgesOf(const std::string& key, bool inverse) {
    Store().FlushOwnBatch();
    const SharedIds shared(Store().Database(), vxdependency::ReadTransaction(Store().Database()));
    return inverse ? UsersByEdges(key, shared) : ReferencesByEdges(key, shared);
}

List CDependencyManager::UsersByEdges(const std::string& key, const SharedIds& shared) {
    if (shared.Contain(InverseId(key))) return UsersOf({key});
    const List edges = GraphReader(&Store()).Edges(key, Direction::Inverse);
    List recorded;
    Store().GetInverseDependency(key, recorded);
    if (recorded.size() == edges.size()) return edges;
    std::set<std::string> users(edges.begin(), edges.end());
    for (const std::string& file : recorded) {
        const bool lost = !users.contains(file) && shared.Contain(ForwardId(file));
        if (lost && Names(file, {key})) users.insert(file);
    }
    return Sorted(users);
}

List CDependencyManager::ReferencesByEdges(const std::string& key, const SharedIds& shared) {
    List recorded;
    Store().GetDependency(key, recorded);
    const auto isLost = [&](const std::string& entry) { return shared.Contain(InverseId(entry)); };
    const bool doubtful = shared.Contain(ForwardId(key)) || std::ranges::any_of(recorded, isLost);
    const auto reading = doubtful ? ReadReferences(key) : nullptr;
    if (!reading) return GraphReader(&Store()).Edges(key, Direction::Forward);
    return Sorted({reading->list.begin(), reading->list.end()});
}

}  // namespace vexa
