#include "vxdependency/manager/FindingsObserver.h"

#include <algorithm>
#include <utility>

#include "vexa/common/FileService.h"
#include "vexa/io/Path.h"
#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {

FindingsObserver::FindingsObserver(const std::string& key) : m_key(key) {}

// A reference that resolves has no other reading that could come true: one that does later, when a
// second file appears, is not looked for. Of the others, those that cannot be meant as a path are
// left out: in real trees 38 of 40 texts that a rule matches are none.
void FindingsObserver::OnReference(const ReferenceReport& report) {
    const auto exists = [](const ReferenceCandidate& candidate) { return candidate.exists; };
    if (std::ranges::any_of(report.candidates, exists)) {
        m_resolved.push_back(vxdependency::AwaitedIdOf(report.text));
        return;
    }
    const bool isPath = FileNameProcessor::IsAPath(report.read);
    for (const ReferenceCandidate& candidate : report.candidates) {
        // A text that is no path may still stand for one, as an effect's name without its ".nfx".
        if (isPath || FileNameProcessor::IsAPath(vxio::GetFileName(candidate.key))) {
            Await(candidate.key);
        }
    }
    if (!isPath || !IsOwn(report.file)) return;
    ReferencePlace place = report.site.Describe();
    m_findings.missing.push_back(
        {place.offset, static_cast<std::uint32_t>(place.line), std::move(place.rule), report.text});
}

void FindingsObserver::OnAbsent(const std::string& key) {
    Await(key);
}

void FindingsObserver::OnReadThrough(const std::string& key) {
    if (key != m_key) Await(key);
}

vxdependency::Findings FindingsObserver::Take() {
    auto& awaited = m_findings.awaited;
    std::ranges::sort(awaited);
    awaited.erase(std::unique(awaited.begin(), awaited.end()), awaited.end());
    DropResolved();
    return std::move(m_findings);
}

// Several rules may govern one text: it is missing when none of them finds a file, and then once.
void FindingsObserver::DropResolved() {
    auto& missing = m_findings.missing;
    if (missing.empty()) return;
    std::ranges::sort(m_resolved);
    std::erase_if(missing, [this](const vxdependency::MissingReference& reference) {
        return std::ranges::binary_search(m_resolved, vxdependency::AwaitedIdOf(reference.text));
    });
    const auto same = [](const auto& left, const auto& right) {
        return left.offset == right.offset && left.text == right.text;
    };
    missing.erase(std::unique(missing.begin(), missing.end(), same), missing.end());
}

// References of the files that this one is read through are theirs.
bool FindingsObserver::IsOwn(const std::string& file) const {
    return file == m_key || file == GeneratorForm(m_key);
}

void FindingsObserver::Await(const std::string& path) {
    m_findings.awaited.push_back(vxdependency::AwaitedIdOf(path));
}

}  // namespace vexa
