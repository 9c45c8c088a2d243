#include "vxdependency/scanner/ScanWalk.h"

#include <algorithm>
#include <string_view>

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/store/GeneralDependency.h"

using vexa::vxdependency::CatalogueEntry;
using vexa::vxdependency::GeneralDependency;

namespace {

// The walked path after the root and its separator: the key, but for its separators.
std::string_view BelowRoot(const FileInfoData& record, std::size_t rootLength) {
    return std::string_view(record.path).substr(rootLength + 1);
}

unsigned char AsInKey(char c) {
    return static_cast<unsigned char>(c == '\\' ? '/' : c);
}

std::string AsKey(std::string_view walked) {
    std::string key(walked);
    std::ranges::replace(key, '\\', '/');
    return key;
}

// Orders a walked path and a key as the catalogue orders keys, without making a string.
int CompareToKey(std::string_view walked, std::string_view key) {
    const std::size_t common = std::min(walked.size(), key.size());
    for (std::size_t i = 0; i < common; ++i) {
        const unsigned char a = AsInKey(walked[i]);
        const unsigned char b = AsInKey(key[i]);
        if (a != b) return a < b ? -1 : 1;
    }
    if (walked.size() == key.size()) return 0;
    return walked.size() < key.size() ? -1 : 1;
}

void Add(ScanStatistics& statistics, const CatalogueEntry& entry) {
    statistics.references += entry.references;
    if (entry.references > 0) ++statistics.referrers;
    if (entry.failed) ++statistics.failed;
}

bool IsBelow(std::string_view key, const std::vector<std::string>& folders) {
    return std::any_of(folders.begin(), folders.end(), [key](const std::string& folder) {
        return folder.empty() || (key.size() > folder.size() && key[folder.size()] == '/' &&
                                  key.substr(0, folder.size()) == folder);
    });
}

bool SameState(const FileInfoData& record, const CatalogueEntry& entry) {
    return record.writeTimeNs == entry.writeTimeNs && record.size == entry.size;
}

// A new store: nothing to compare with, and no need to put what was met in order.
bool IsCatalogueEmpty() {
    bool empty = true;
    return GeneralDependency::Instance()->ForEachFile(
               "", [&empty](std::string_view, const CatalogueEntry&) { return empty = false; }) &&
           empty;
}

}  // namespace

void CompareWithCatalogue(ScanWalk& walk) {
    if (IsCatalogueEmpty()) {
        for (const ScanWalk::Met& met : walk.met) met.Get().change = FileInfoData::Change::Changed;
        walk.newFiles = !walk.met.empty();
        return;
    }
    const std::size_t rootLength = vexa::InterfaceBox::Instance().GetResourceRoot().size();
    std::sort(walk.met.begin(), walk.met.end(),
              [rootLength](const ScanWalk::Met& a, const ScanWalk::Met& b) {
                  return CompareToKey(BelowRoot(a.Get(), rootLength),
                                      BelowRoot(b.Get(), rootLength)) < 0;
              });
    auto met = walk.met.begin();
    const auto markChanged = [&](const ScanWalk::Met& record) {
        record.Get().change = FileInfoData::Change::Changed;
        walk.changed.push_back(AsKey(BelowRoot(record.Get(), rootLength)));
    };
    const auto skipUnknown = [&](const auto& comesBefore) {
        while (met != walk.met.end() && comesBefore(BelowRoot(met->Get(), rootLength))) {
            walk.newFiles = true;
            markChanged(*met++);
        }
    };
    const auto visit = [&](std::string_view key, const CatalogueEntry& entry) {
        Add(walk.statistics, entry);
        skipUnknown([key](std::string_view path) { return CompareToKey(path, key) < 0; });
        if (met == walk.met.end() || CompareToKey(BelowRoot(met->Get(), rootLength), key) != 0) {
            if (!IsBelow(key, walk.unreadable)) walk.vanished.emplace_back(key);
            return true;
        }
        if (SameState(met->Get(), entry)) {
            met->Get().change = FileInfoData::Change::None;
        } else {
            markChanged(*met);
        }
        ++met;
        return true;
    };
    GeneralDependency::Instance()->ForEachFile("", visit);
    skipUnknown([](std::string_view) { return true; });
}

void MarkForReading(ScanWalk& walk, const std::vector<std::string>& keys) {
    const std::size_t rootLength = vexa::InterfaceBox::Instance().GetResourceRoot().size();
    const auto compare = [rootLength](const ScanWalk::Met& met, const std::string& key) {
        return CompareToKey(BelowRoot(met.Get(), rootLength), key);
    };
    for (const std::string& key : keys) {
        const auto met = std::lower_bound(
            walk.met.begin(), walk.met.end(), key,
            [&](const ScanWalk::Met& record, const auto& k) { return compare(record, k) < 0; });
        if (met == walk.met.end() || compare(*met, key) != 0) continue;
        met->Get().change = FileInfoData::Change::Changed;
    }
}

void SumCatalogue(ScanStatistics& statistics) {
    statistics.references = statistics.referrers = statistics.failed = 0;
    GeneralDependency::Instance()->ForEachFile(
        "", [&statistics](std::string_view, const CatalogueEntry& entry) {
            Add(statistics, entry);
            return true;
        });
}
