#include "vxdep/TreeCheck.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <tuple>
#include <unordered_set>

#include "vexa/common/InterfaceBox.h"
#include "vxdep/EdgeCheck.h"
#include "vxdep/Project.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vxdep {

namespace {

using vexa::CDependencyManager;
using vexa::FileState;
using vexa::vxdependency::CatalogueEntry;

// In characters, as the library's buffers for paths have it.
constexpr std::size_t kLongestPath = 260;

class TreeChecker {
public:
    CheckReport Run();

private:
    void LoadKnownFiles();
    void LoadExtensions();
    void CompareTree(const std::vector<std::string>& keys);
    void CompareFile(const std::string& key, const KnownFiles::value_type* known);
    void CheckContent(const std::string& key, const CatalogueEntry* entry);
    bool IsStale(const std::string& key, const CatalogueEntry& entry) const;
    bool HasGenerator(const std::string& key) const;
    std::vector<std::string> Walk();
    void Add(ProblemKind kind, const std::string& path, const std::string& other = "");

    const std::string m_root = vexa::InterfaceBox::Instance().GetResourceRoot();
    std::unordered_set<std::string> m_extensions;  // those that have a generator
    KnownFiles m_known;
    CheckReport m_report;
};

void TreeChecker::Add(ProblemKind kind, const std::string& path, const std::string& other) {
    m_report.problems.push_back({kind, path, other});
}

void TreeChecker::LoadKnownFiles() {
    Project::Store().ForEachFile("", [this](std::string_view key, const CatalogueEntry& entry) {
        m_known.emplace_back(key, entry);
        return true;
    });
}

void TreeChecker::LoadExtensions() {
    std::vector<std::string> extensions;
    Project::Manager().GetRegisterExtList(extensions);
    m_extensions.insert(extensions.begin(), extensions.end());
}

bool TreeChecker::HasGenerator(const std::string& key) const {
    return m_extensions.count(key.substr(key.rfind('.') + 1)) != 0;
}

// The keys of all files below the resource root, in order.
std::vector<std::string> TreeChecker::Walk() {
    std::vector<std::string> keys;
    Project::Manager().GetAllFilesRecursively(m_root, keys);
    for (std::string& key : keys) key.erase(0, m_root.size() + 1);
    // A scan leaves these out, and says so.
    std::erase_if(keys, [](const std::string& key) { return key.find('\\') != std::string::npos; });
    std::sort(keys.begin(), keys.end());
    return keys;
}

// Walks the tree and the catalogue side by side; both are in order.
void TreeChecker::CompareTree(const std::vector<std::string>& keys) {
    auto known = m_known.begin();
    const auto passMissing = [&](const auto& comesBefore) {
        for (; known != m_known.end() && comesBefore(known->first); ++known) {
            Add(ProblemKind::Missing, known->first);
        }
    };
    for (const std::string& key : keys) {
        passMissing([&key](const std::string& other) { return other < key; });
        const bool isKnown = known != m_known.end() && known->first == key;
        CompareFile(key, isKnown ? &*known++ : nullptr);
    }
    passMissing([](const std::string&) { return true; });
}

void TreeChecker::CompareFile(const std::string& key, const KnownFiles::value_type* known) {
    if (HasGenerator(key) && (m_root + "/" + key).size() > kLongestPath) {
        return Add(ProblemKind::TooLong, key);
    }
    if (!known) {
        Add(ProblemKind::Unknown, key);
    } else if (IsStale(key, known->second)) {
        Add(ProblemKind::Stale, key);
    }
    if (HasGenerator(key)) CheckContent(key, known ? &known->second : nullptr);
}

// The marks by which the library tells whether a file has changed since it was read.
bool TreeChecker::IsStale(const std::string& key, const CatalogueEntry& entry) const {
    const FileState state = vexa::InterfaceBox::Instance().GetFileService().GetState(key);
    if (!state.exists) return false;
    if (state.writeTimeNs != entry.writeTimeNs || state.size != entry.size) return true;
    if (!HasGenerator(key)) return false;
    constexpr std::int64_t kSecond = 1000000000;
    std::int64_t stamp = std::numeric_limits<std::int64_t>::min();
    Project::Store().GetTimeStamp(m_root + "/" + key, stamp);
    return stamp != state.writeTimeNs / kSecond - (state.writeTimeNs % kSecond < 0 ? 1 : 0);
}

void TreeChecker::CheckContent(const std::string& key, const CatalogueEntry* entry) {
    const std::string path = m_root + "/" + key;
    if (vexa::InterfaceBox::Instance().GetFileService().GetState(key).directory) return;
    if (!std::ifstream(path, std::ios::binary)) {
        Add(ProblemKind::Unreadable, key);
    } else if (entry && entry->failed) {
        Add(ProblemKind::Unparsable, key);
    }
}

CheckReport TreeChecker::Run() {
    LoadKnownFiles();
    LoadExtensions();
    const std::vector<std::string> keys = Walk();
    m_report.files = static_cast<std::int64_t>(keys.size());
    CompareTree(keys);
    std::vector<Problem> edges = CheckEdges(m_known);
    std::move(edges.begin(), edges.end(), std::back_inserter(m_report.problems));
    std::sort(m_report.problems.begin(), m_report.problems.end(),
              [](const Problem& a, const Problem& b) {
                  return std::tie(a.kind, a.path, a.other) < std::tie(b.kind, b.path, b.other);
              });
    return std::move(m_report);
}

}  // namespace

const char* NameOf(ProblemKind kind) {
    switch (kind) {
        case ProblemKind::Stale:
            return "stale";
        case ProblemKind::Unknown:
            return "unknown";
        case ProblemKind::Missing:
            return "missing";
        case ProblemKind::OneSided:
            return "one-sided";
        case ProblemKind::Colliding:
            return "colliding";
        case ProblemKind::TooLong:
            return "too-long";
        case ProblemKind::Unreadable:
            return "unreadable";
        case ProblemKind::Unparsable:
            return "unparsable";
    }
    return "";
}

std::int64_t CheckReport::Count(ProblemKind kind) const {
    return std::count_if(problems.begin(), problems.end(),
                         [kind](const Problem& problem) { return problem.kind == kind; });
}

bool CheckReport::IsSound() const {
    return Count(ProblemKind::Unparsable) == static_cast<std::int64_t>(problems.size());
}

CheckReport CheckTree() {
    return TreeChecker().Run();
}

}  // namespace vxdep
