#include "vxdependency/generators/ReferenceCollector.h"

#include <algorithm>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/os/WindowsApi.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {

namespace {

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

// The resources that candidates name. Two candidates often are two spellings of one key, and most
// attribute values are no path at all: each key costs one look at the disk, not one per spelling.
std::vector<ReferenceCandidate> Resolve(const NameReadings& readings) {
    std::vector<ReferenceCandidate> candidates;
    for (std::size_t i = 0; i < readings.paths.size(); ++i) {
        std::string key;
        if (!Files().KeyOfReference(readings.paths[i], key) || key.empty()) continue;
        if (key.size() > MAX_PATH) continue;
        const bool known = std::ranges::any_of(
            candidates, [&key](const ReferenceCandidate& other) { return other.key == key; });
        if (known) continue;
        const bool exists = Files().FileExists(key);
        candidates.push_back({std::move(key), readings.strategies[i], exists});
    }
    return candidates;
}

}  // namespace

void CollectReference(const std::string& file, const std::string& text, std::int32_t mask,
                      const IReferenceSite& site, std::vector<std::string>& dependencies,
                      std::vector<std::string>& secondList, const std::string& addition) {
    const std::string joined = addition.empty() ? "" : text + addition;
    const std::string& read = addition.empty() ? text : joined;
    NameReadings readings = FileNameProcessor::Read(file, read, mask);
    std::vector<ReferenceCandidate> candidates = Resolve(readings);
    ReportReference({file, text, read, candidates, readings.companions, site});
    for (ReferenceCandidate& candidate : candidates) {
        if (candidate.exists) dependencies.push_back(std::move(candidate.key));
    }
    std::ranges::move(readings.companions, std::back_inserter(secondList));
}

void ReportPaths(const std::string& file, const std::string& text,
                 const std::vector<std::string>& paths, const IReferenceSite& site) {
    const NameReadings readings{paths, std::vector<std::int32_t>(paths.size()), {}};
    ReportReference({file, text, text, Resolve(readings), {}, site});
}

}  // namespace vexa
