#include "vxdependency/store/EntryIndex.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace vexa::vxdependency {
namespace {

std::size_t HashOf(std::string_view entry) {
    return std::hash<std::string_view>()(entry);
}

bool ReversedLess(std::string_view left, std::string_view right) {
    return std::lexicographical_compare(left.rbegin(), left.rend(), right.rbegin(), right.rend());
}

}  // namespace

EntryIndex::EntryIndex(std::string text) : m_text(std::move(text)) {
    for (std::size_t begin = 0; begin < m_text.size();) {
        const std::size_t end = m_text.find('#', begin);
        m_live.emplace(HashOf(std::string_view(m_text).substr(begin, end - begin)),
                       static_cast<Number>(m_begin.size()));
        m_begin.push_back(begin);
        begin = end + 1;
    }
    m_dead.resize(m_begin.size());
}

bool EntryIndex::Contains(std::string_view entry) const {
    return Find(entry) != m_live.end();
}

void EntryIndex::Append(std::string_view entry) {
    m_live.emplace(HashOf(entry), static_cast<Number>(m_begin.size()));
    m_begin.push_back(m_text.size());
    m_dead.push_back(false);
    m_text.append(entry).push_back('#');
}

void EntryIndex::RemoveFirstMatch(std::string_view entry) {
    const auto found = Find(entry);
    if (found != m_live.end() && !EndsAnEarlierOne(entry, found->second)) Take(found);
}

void EntryIndex::Erase(std::string_view entry) {
    for (auto found = Find(entry); found != m_live.end(); found = Find(entry)) Take(found);
}

std::string EntryIndex::Text() const {
    if (m_deadCount == 0) return m_text;
    std::string text;
    text.reserve(m_text.size());
    for (Number number = 0; number < m_begin.size(); ++number) {
        if (!m_dead[number]) text.append(At(number)).push_back('#');
    }
    return text;
}

std::string_view EntryIndex::At(Number number) const {
    const std::size_t begin = m_begin[number];
    const std::size_t next = number + 1 < m_begin.size() ? m_begin[number + 1] : m_text.size();
    return std::string_view(m_text).substr(begin, next - begin - 1);
}

EntryIndex::Table::const_iterator EntryIndex::Find(std::string_view entry) const {
    auto best = m_live.end();
    const auto [from, to] = m_live.equal_range(HashOf(entry));
    for (auto it = from; it != to; ++it) {
        const bool earlier = best == m_live.end() || it->second < best->second;
        if (earlier && At(it->second) == entry) best = it;
    }
    return best;
}

void EntryIndex::Take(Table::const_iterator entry) {
    m_dead[entry->second] = true;
    ++m_deadCount;
    m_live.erase(entry);
    if (m_deadCount > m_live.size() + 16) *this = EntryIndex(Text());
}

bool EntryIndex::EndsAnEarlierOne(std::string_view entry, Number number) {
    if (number > m_byEnd.size()) {
        m_lookedThrough += number - m_byEnd.size();
        if (m_lookedThrough > 16 * m_begin.size()) SortTail();
    }
    const auto counts = [&](Number other) {
        return other < number && !m_dead[other] && At(other).ends_with(entry);
    };
    auto it = std::lower_bound(
        m_byEnd.begin(), m_byEnd.end(), entry,
        [this](Number other, std::string_view text) { return ReversedLess(At(other), text); });
    for (; it != m_byEnd.end() && At(*it).ends_with(entry); ++it) {
        if (counts(*it)) return true;
    }
    for (auto other = static_cast<Number>(m_byEnd.size()); other < number; ++other) {
        if (counts(other)) return true;
    }
    return false;
}

void EntryIndex::SortTail() {
    const auto less = [this](Number left, Number right) {
        return ReversedLess(At(left), At(right));
    };
    const auto sorted = static_cast<std::ptrdiff_t>(m_byEnd.size());
    for (auto number = static_cast<Number>(sorted); number < m_begin.size(); ++number) {
        m_byEnd.push_back(number);
    }
    const auto tail = m_byEnd.begin() + sorted;
    std::sort(tail, m_byEnd.end(), less);
    std::inplace_merge(m_byEnd.begin(), tail, m_byEnd.end(), less);
    m_lookedThrough = 0;
}

}  // namespace vexa::vxdependency
