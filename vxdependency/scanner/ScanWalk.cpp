#include "vxdependency/scanner/ScanWalk.h"

#include <algorithm>
#include <future>
#include <string_view>

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/store/GeneralDependency.h"

using vexa::vxdependency::CatalogueEntry;
using vexa::vxdependency::GeneralDependency;
using Number = FileTable::Number;

namespace {

// Files have a dozen references with two or three readings each, and a look at the disk costs as
// much as entering ten files into a table.
constexpr std::size_t kFilesPerLook = 500;

void Add(ScanStatistics& statistics, const CatalogueEntry& entry, int times = 1) {
    statistics.references += std::int64_t{times} * entry.references;
    if (entry.references > 0) statistics.referrers += times;
    if (entry.failed) statistics.failed += times;
}

bool IsBelow(std::string_view key, const std::vector<std::string>& folders) {
    return std::any_of(folders.begin(), folders.end(), [key](const std::string& folder) {
        return folder.empty() || (key.size() > folder.size() && key[folder.size()] == '/' &&
                                  key.substr(0, folder.size()) == folder);
    });
}

// A new store: nothing to compare with.
bool IsCatalogueEmpty() {
    bool empty = true;
    return GeneralDependency::Instance()->ForEachFile(
               "", [&empty](std::string_view, const CatalogueEntry&) { return empty = false; }) &&
           empty;
}

// The two sequences of keys side by side.
class Comparison {
public:
    explicit Comparison(ScanWalk& walk) : m_walk(walk) {}

    void Visit(std::string_view key, const CatalogueEntry& entry) {
        Add(m_walk.statistics, entry);
        int order = -1;
        while (m_next < m_walk.files.Size() &&
               (order = m_walk.files.KeyOf(m_next).compare(key)) < 0) {
            AddNew();
        }
        if (m_next == m_walk.files.Size() || order != 0) {
            if (!IsBelow(key, m_walk.unreadable)) m_walk.vanished.emplace_back(key);
            return;
        }
        const bool same = m_walk.files.WriteTimeNs(m_next) == entry.writeTimeNs &&
                          m_walk.files.SizeOf(m_next) == entry.size;
        same ? m_walk.files.SetChange(m_next, FileChange::None) : MarkChanged();
        ++m_next;
    }

    void End() {
        while (m_next < m_walk.files.Size()) AddNew();
    }

private:
    void MarkChanged() {
        m_walk.files.SetChange(m_next, FileChange::Changed);
        m_walk.changed.emplace_back(m_walk.files.KeyOf(m_next));
    }
    void AddNew() {
        m_walk.newFiles = true;
        MarkChanged();
        ++m_next;
    }

    ScanWalk& m_walk;
    Number m_next = 0;
};

// The files from `begin` to `end` that are read and whose time stamp is another, or none.
std::vector<Number> WithOtherStamp(const FileTable& files, Number begin, Number end) {
    std::vector<Number> asked;
    std::vector<std::int64_t> expected;
    for (Number i = begin; i < end; ++i) {
        if (!files.IsRead(i)) continue;
        asked.push_back(i);
        expected.push_back(files.WriteTime(i));
    }
    std::vector<bool> same(asked.size());
    std::string path = vexa::InterfaceBox::Instance().GetResourceRoot() + '/';
    const std::size_t root = path.size();
    GeneralDependency::Instance()->GetTimeStamps(
        asked.size(),
        [&](std::size_t i) {
            path.resize(root);
            return std::string_view(path += files.KeyOf(asked[i]));
        },
        [&](std::size_t i, std::int64_t stamp) { same[i] = stamp == expected[i]; });
    std::size_t kept = 0;
    for (std::size_t i = 0; i < asked.size(); ++i) {
        if (!same[i]) asked[kept++] = asked[i];
    }
    asked.resize(kept);
    return asked;
}

void MarkOtherStamps(FileTable& files, const std::vector<Number>& other) {
    for (const Number file : other) files.SetChange(file, FileChange::Changed);
}

void CompareWithCatalogue(ScanWalk& walk) {
    Comparison comparison(walk);
    GeneralDependency::Instance()->ForEachFile(
        "", [&comparison](std::string_view key, const CatalogueEntry& entry) {
            comparison.Visit(key, entry);
            return true;
        });
    comparison.End();
}

// Time stamps lie anywhere in the store: to look them up takes several times as long as to compare
// with the catalogue.
void CompareWithAll(ScanWalk& walk) {
    const auto size = static_cast<Number>(walk.files.Size());
    auto lower = std::async(std::launch::async, WithOtherStamp, std::cref(walk.files), 0, size / 2);
    CompareWithCatalogue(walk);
    MarkOtherStamps(walk.files, WithOtherStamp(walk.files, size / 2, size));
    MarkOtherStamps(walk.files, lower.get());
}

constexpr char kInStep[] = "in_step";

// Names a state of the store, and the types of files that are read.
std::string NameOfState(std::uint64_t change) {
    std::vector<std::string> extensions;
    vexa::CDependencyManager::GetSingletonPtr()->GetRegisterExtList(extensions);
    std::ranges::sort(extensions);
    std::string name = std::to_string(change);
    for (const std::string& extension : extensions) name.append(1, ' ').append(extension);
    return name;
}

// Whether a scan found all in step, and nothing but that was written to the store since: then the
// time stamps are still what they were.
bool IsAsLeft(std::uint64_t change) {
    std::string left;
    return GeneralDependency::Instance()->GetMeta(kInStep, left) && left == NameOfState(change - 1);
}

}  // namespace

void CompareWithStore(ScanWalk& walk) {
    if (IsCatalogueEmpty()) {
        for (Number i = 0; i < walk.files.Size(); ++i) {
            walk.files.SetChange(i, FileChange::Changed);
        }
        walk.isFirst = true;
        return;
    }
    const std::uint64_t change = GeneralDependency::Instance()->LastChange();
    IsAsLeft(change) ? CompareWithCatalogue(walk) : CompareWithAll(walk);
    if (walk.changed.empty() && walk.vanished.empty() && walk.unreadable.empty())
        walk.inStep = change;
}

void RememberInStep(const ScanWalk& walk) {
    auto& store = *GeneralDependency::Instance();
    if (walk.inStep != 0 && store.LastChange() == walk.inStep)
        store.SetMeta(kInStep, NameOfState(walk.inStep));
}

void MarkForReading(ScanWalk& walk, const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        const Number found = walk.files.Find(key);
        if (found < walk.files.Size()) walk.files.SetChange(found, FileChange::Changed);
    }
}

void KnowFiles(ScanWalk& walk) {
    std::size_t changed = 0;
    for (Number i = 0; i < walk.files.Size(); ++i) {
        if (walk.files.Change(i) == FileChange::Changed) ++changed;
    }
    if (changed < walk.files.Size() / kFilesPerLook) {
        walk.known = vexa::KnownFiles(0, vexa::KnownFiles::Answer::AskDisk);
        return;
    }
    walk.known = vexa::KnownFiles(walk.files.Size());
    for (const std::string& key : walk.elsewhere) walk.known.AddUnknown(key);
    for (const std::string& key : walk.unreadable) walk.known.AddUnknown(key);
    const auto& elsewhere = walk.elsewhere;  // in order, as they were met
    for (Number i = 0; i < walk.files.Size(); ++i) {
        const std::string_view key = walk.files.KeyOf(i);
        std::ranges::binary_search(elsewhere, key) ? walk.known.SkipNumber() : walk.known.Add(key);
    }
}

bool ChangesCatalogue(const ScanWalk& walk) {
    return walk.isFirst || walk.newFiles || !walk.changed.empty() || !walk.vanished.empty();
}

void ChangeFigures(ScanStatistics& statistics, const CatalogueEntry& before,
                   const CatalogueEntry& after) {
    Add(statistics, before, -1);
    Add(statistics, after);
}

void SumCatalogue(ScanStatistics& statistics) {
    statistics.references = statistics.referrers = statistics.failed = 0;
    GeneralDependency::Instance()->ForEachFile(
        "", [&statistics](std::string_view, const CatalogueEntry& entry) {
            Add(statistics, entry);
            return true;
        });
}
