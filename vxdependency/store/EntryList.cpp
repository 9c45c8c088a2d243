#include "vxdependency/store/EntryList.h"

#include <tsl/robin_set.h>

#include <algorithm>
#include <utility>

namespace vexa::vxdependency {
namespace {

// Making an index costs about as much as this many searches of the same text; below this size it
// never pays.
constexpr std::size_t kSearchesPerIndex = 16;
constexpr std::size_t kSmallText = 512;

std::string Separated(std::string_view entry) {
    return std::string(entry) + '#';
}

}  // namespace

std::size_t EntryList::Find(std::string_view text, std::string_view entry) {
    for (std::size_t begin = 0; begin < text.size(); begin = text.find('#', begin) + 1) {
        const std::string_view rest = text.substr(begin);
        if (rest.size() <= entry.size()) return npos;
        if (rest[entry.size()] == '#' && rest.starts_with(entry)) return begin;
    }
    return npos;
}

std::vector<std::string_view> EntryList::Missing(std::string_view text,
                                                 std::vector<std::string_view> entries) {
    if (entries.size() == 1) {
        if (Find(text, entries.front()) != npos) entries.clear();
        return entries;
    }
    tsl::robin_set<std::string_view> missing(entries.begin(), entries.end());
    for (std::size_t begin = 0; begin < text.size() && !missing.empty();) {
        const std::size_t end = text.find('#', begin);
        missing.erase(text.substr(begin, end - begin));
        begin = end + 1;
    }
    std::erase_if(entries, [&](std::string_view entry) { return missing.erase(entry) == 0; });
    return entries;
}

void EntryList::Split(std::string_view text, std::vector<std::string>& out) {
    if (out.empty()) out.reserve(static_cast<std::size_t>(std::ranges::count(text, '#')));
    for (std::size_t begin = 0, end; (end = text.find('#', begin)) != npos; begin = end + 1) {
        out.emplace_back(text.substr(begin, end - begin));
    }
}

bool EntryList::IsEmpty() const {
    return m_index ? m_index->IsEmpty() : m_text.empty();
}

bool EntryList::Contains(std::string_view entry) {
    return UsesIndex(entry) ? m_index->Contains(entry) : Find(m_text, entry) != npos;
}

void EntryList::Add(std::string_view entry) {
    if (Contains(entry)) return;
    if (m_index) {
        m_index->Append(entry);
    } else {
        m_text.append(entry).push_back('#');
    }
}

void EntryList::RemoveFirstMatch(std::string_view entry) {
    if (UsesIndex(entry)) {
        m_index->RemoveFirstMatch(entry);
        return;
    }
    const std::size_t found = m_text.find(Separated(entry));
    if (found == npos || (found > 0 && m_text[found - 1] != '#')) return;
    m_text.erase(found, entry.size() + 1);
}

void EntryList::Erase(std::string_view entry) {
    if (UsesIndex(entry)) {
        m_index->Erase(entry);
        return;
    }
    // From the start each time: taking out text that holds "#" can join its like.
    for (std::size_t found; (found = Find(m_text, entry)) != npos;) {
        m_text.erase(found, entry.size() + 1);
    }
}

bool EntryList::UsesIndex(std::string_view entry) {
    if (entry.find('#') != npos) {
        if (m_index) m_text = std::exchange(m_index, std::nullopt)->Text();
        return false;
    }
    if (m_index) return true;
    m_searched += m_text.size();
    if (m_text.size() < kSmallText || m_searched < kSearchesPerIndex * m_text.size()) return false;
    m_index.emplace(std::exchange(m_text, {}));
    m_searched = 0;
    return true;
}

}  // namespace vexa::vxdependency
