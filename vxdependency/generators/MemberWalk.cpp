#include "vxdependency/generators/MemberWalk.h"

#include <cstddef>
#include <vector>

#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {

namespace {

// A value and the member that it belongs to: its own, or the one that holds the array around it.
struct Slot {
    ujson::value* value;
    ujson::object* members;  // null for what no member holds
    std::int32_t index;

    bool IsOffered() const { return members && (IsMember() || value->is_string()); }
    const std::string& Name() const { return Holder().first; }

private:
    ujson::member& Holder() const { return (*members)[static_cast<std::size_t>(index)]; }
    bool IsMember() const { return value == &Holder().second; }
};

std::size_t Length(const ujson::value& list) {
    return list.is_object() ? list.to_object().size() : list.to_array().size();
}

Slot At(const Slot& list, std::size_t at) {
    if (list.value->is_array()) return {&list.value->to_array()[at], list.members, list.index};
    ujson::object& members = list.value->to_object();
    return {&members[at].second, &members, static_cast<std::int32_t>(at)};
}

void VisitAsPaths(const Slot& table, const MemberVisitor& visit) {
    const std::string name = kPathMember;
    const std::size_t length = Length(*table.value);
    for (std::size_t i = 0; i < length; ++i) {
        const Slot slot = At(table, i);
        if (!slot.value->is_string()) continue;
        if (!FileNameProcessor::IsAPath(slot.value->to_string(""))) continue;
        bool stop = false;
        visit(name, *slot.value, *slot.members, slot.index, stop);
    }
}

// A list that is being walked, and how far.
struct Level {
    Slot list;
    std::size_t next = 0;
};

}  // namespace

void WalkMembers(ujson::value& root, const MemberVisitor& visit) {
    std::vector<Level> levels{{{&root, nullptr, 0}}};  // not recursive: depth comes from the file
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == Length(*level.list.value)) {
            levels.pop_back();
            continue;
        }
        const Slot slot = At(level.list, level.next++);
        bool stop = false;
        const bool below =
            !slot.IsOffered() || visit(slot.Name(), *slot.value, *slot.members, slot.index, stop);
        if (stop) {
            const Slot table = level.list;
            levels.pop_back();
            VisitAsPaths(table, visit);
        } else if (below && Length(*slot.value) > 0) {
            levels.push_back({slot});
        }
    }
}

}  // namespace vexa
