#include "vxdependency/generators/ReferenceCollector.h"

#include <algorithm>
#include <iterator>

#include "vexa/threading/ThreadSpare.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/generators/SpareTexts.h"
#include "vxdependency/rename/Strategies.h"

namespace vexa {

namespace {

// What a reference is resolved in. More than one is in use when an animation that a reference names
// is read in order to resolve it.
struct Workspace {
    strategies::Found found;
    std::string read;
    std::string name;

    void Clear() {
        constexpr std::size_t kLongest = 1U << 16U;  // longer texts are embedded data
        found.Clear();
        if (read.capacity() > kLongest) *this = Workspace();
    }
};

}  // namespace

void CollectReference(const std::string& file, const std::string& text, std::int32_t mask,
                      const IReferenceSite& site, std::vector<std::string>& dependencies,
                      std::vector<std::string>& secondList, const std::string& addition) {
    const ThreadSpare<Workspace> use;
    strategies::Found& found = use->found;
    use->read.assign(text).append(addition);
    use->name = use->read;
    strategies::Run(file, mask, use->name, found);
    found.Resolve(use->name);
    ReportReference({file, text, use->read, found.Candidates(), found.companions, site});
    for (const ReferenceCandidate& candidate : found.Candidates()) {
        if (candidate.exists) dependencies.push_back(TakeSpareText(candidate.key));
    }
    std::ranges::move(found.companions, std::back_inserter(secondList));
}

void ReportPaths(const std::string& file, const std::string& text,
                 std::span<const std::string> paths, const IReferenceSite& site) {
    if (!IReferenceObserver::OfThisThread()) return;
    const ThreadSpare<Workspace> use;
    strategies::Found& found = use->found;
    for (std::size_t i = 0; i + 1 < paths.size(); ++i) found.Add(paths[i], true);
    found.Resolve(paths.back());
    ReportReference({file, text, text, found.Candidates(), found.companions, site});
}

}  // namespace vexa
