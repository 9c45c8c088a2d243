#include "vxdependency/generators/MemberWalk.h"

#include <cstddef>
#include <string>
#include <vector>

#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {

namespace {

using Entry = vxio::JsonOutline::Entry;

bool IsOffered(const Entry& entry) {
    return entry.isNamed && (entry.isMember || entry.isString);
}

void VisitAsPaths(const std::vector<Entry>& entries, std::size_t table,
                  const MemberVisitor& visit) {
    for (std::size_t at = table + 1; at < entries[table].end; at = entries[at].end) {
        const Entry& entry = entries[at];
        if (!entry.isString || !FileNameProcessor::IsAPath(std::string(entry.Text()))) continue;
        bool stop = false;
        visit(kPathMember, entry, stop);
    }
}

}  // namespace

void WalkMembers(const vxio::JsonOutline& outline, const MemberVisitor& visit) {
    const std::vector<Entry>& entries = outline.Entries();
    for (std::size_t at = 1; at < entries.size();) {
        const Entry& entry = entries[at];
        bool stop = false;
        const bool below = !IsOffered(entry) || visit(entry.name, entry, stop);
        if (stop) {
            VisitAsPaths(entries, entry.parent, visit);
            at = entries[entry.parent].end;
        } else {
            at = below ? at + 1 : entry.end;
        }
    }
}

}  // namespace vexa
