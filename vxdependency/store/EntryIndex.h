#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vexa::vxdependency {

// A long list, indexed: a hash table finds an entry, and an order by reversed text finds the
// entries that end with one. Entries that are taken out stay in the text until half of it is dead,
// so that a removal does not move what follows. Entries hold no "#".
class EntryIndex {
public:
    // `text` is a list: each entry followed by "#".
    explicit EntryIndex(std::string text);

    bool IsEmpty() const { return m_live.empty(); }
    bool Contains(std::string_view entry) const;
    // Puts an entry that is not there yet at the end.
    void Append(std::string_view entry);
    // Takes an entry out, unless an earlier one ends with it.
    void RemoveFirstMatch(std::string_view entry);
    // Takes every copy of an entry out.
    void Erase(std::string_view entry);

    // The list of what is left.
    std::string Text() const;

private:
    using Number = std::uint32_t;
    // Numbers of the live entries by hash of their text.
    using Table = std::unordered_multimap<std::size_t, Number>;

    std::string_view At(Number number) const;
    // The earliest live copy, end() when there is none.
    Table::const_iterator Find(std::string_view entry) const;
    void Take(Table::const_iterator entry);
    bool EndsAnEarlierOne(std::string_view entry, Number number);
    void SortTail();

    std::string m_text;
    std::vector<std::size_t> m_begin;  // where each entry of the text begins, dead ones too
    std::vector<bool> m_dead;
    std::size_t m_deadCount = 0;
    Table m_live;
    // The first entries of the text, sorted by reversed text. The ones after them, the tail, are
    // looked through one by one until that has cost more than sorting them in.
    std::vector<Number> m_byEnd;
    std::size_t m_lookedThrough = 0;
};

}  // namespace vexa::vxdependency
