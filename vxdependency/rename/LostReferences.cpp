#include "vxdependency/rename/LostReferences.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/generators/DependencyJSON.h"
#include "vxdependency/generators/DependencySurf.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

struct Place {
    std::size_t line = 0;
    std::string text;
};

// Notes where a file names each resource, the first place of each.
class PlaceObserver final : public IReferenceObserver {
public:
    explicit PlaceObserver(std::string file) : m_file(std::move(file)) {}

    void OnReference(const ReferenceReport& report) override {
        // What it reaches through other files stands there.
        if (report.file != m_file && report.file != GeneratorForm(m_file)) return;
        for (const ReferenceCandidate& candidate : report.candidates) {
            if (!candidate.exists || m_places.contains(candidate.key)) continue;
            m_places[candidate.key] = {report.site.Describe().line, report.text};
        }
    }
    void OnAbsent(const std::string&) override {}
    void OnReadThrough(const std::string&) override {}

    Place Find(const std::string& resource) const {
        const auto found = m_places.find(resource);
        return found == m_places.end() ? Place{} : found->second;
    }

private:
    const std::string m_file;
    std::unordered_map<std::string, Place> m_places;
};

// A list of the store is separated by "#".
bool CannotBeKept(const ConcernedFile& file, const std::string& resource) {
    return (file.newKey + resource).find('#') != std::string::npos;
}

std::string ReasonOfLoss(const ConcernedFile& file, const std::string& expected, bool written) {
    if (CannotBeKept(file, expected)) return "a name with \"#\" cannot be kept in the store";
    if (!written) return "it is found by its name, or through another file";
    CDependencyBase* const generator =
        CDependencyManager::GetSingletonPtr()->GetDependencyGenerator(file.newKey);
    const bool json = dynamic_cast<CDependencyJSON*>(generator) != nullptr;
    const bool xml = dynamic_cast<CDependencyXML*>(generator) != nullptr;
    if (!json && !xml) return "references of this format are not rewritten";
    const bool surface = dynamic_cast<CDependencySurf*>(generator) != nullptr;
    if (file.oldKey != file.newKey && (json || surface))
        return "a file of this format keeps its own references when it moves";
    return "no text of this form names the new path";
}

}  // namespace

void CompareReferences(const ConcernedFile& file, const PendingRenames& renames,
                       const std::function<bool(const std::string&)>& isEdge, IFileService& disk,
                       RenamePlan& plan) {
    const auto nameNow = [&renames](const std::string& key) {
        const std::string* const name = renames.NewNameOf(key);
        return name ? *name : key;
    };
    const std::unordered_set<std::string> after(file.after.begin(), file.after.end());
    std::unordered_set<std::string> expected;
    std::vector<std::string> lost;
    for (const std::string& resource : file.before) {
        const std::string now = nameNow(resource);
        if (expected.insert(now).second && !after.contains(now)) lost.push_back(resource);
    }
    for (const std::string& resource : file.after) {
        if (!expected.contains(resource)) plan.appearing.push_back({file.newKey, resource});
    }
    // An entry that is no edge cannot be lost. Few are asked: that takes a look into the list of
    // each.
    std::erase_if(lost, std::not_fn(isEdge));
    if (lost.empty()) return;

    PlaceObserver places(file.oldKey);
    {
        const FileServiceUse before(disk);
        CDependencyManager::GetSingletonPtr()->Explain(file.oldKey, places);
    }
    for (const std::string& resource : lost) {
        const Place place = places.Find(resource);
        const std::string now = nameNow(resource);
        plan.notRewritten.push_back({file.newKey, place.line, place.text, resource, now,
                                     ReasonOfLoss(file, now, !place.text.empty()),
                                     CannotBeKept(file, now)});
    }
}

}  // namespace vexa
