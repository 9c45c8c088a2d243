#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vxdependency/store/EntryIndex.h"

namespace vexa::vxdependency {

// The value of a list record, "a/b.tga#c/d.mtl#", under the store's rules, which are rules of its
// text: an entry is there where its text and "#" stand at the start or after a "#". Short lists are
// searched as they are; once the searches have cost more than an index would, one is made, so that
// tens of thousands of changes to one list take time in proportion. The result is the same to the
// byte, also for entries that hold "#".
class EntryList {
public:
    static constexpr std::size_t npos = std::string_view::npos;

    EntryList() = default;
    // `text` must be a list.
    explicit EntryList(std::string text) : m_text(std::move(text)) {}

    // Whether a value can be a list: it is empty or ends in "#".
    static bool IsList(std::string_view text) { return text.empty() || text.back() == '#'; }
    // Where an entry stands in a list's text.
    static std::size_t Find(std::string_view text, std::string_view entry);
    // Those of the entries, which hold no "#", that a list's text does not hold: in their order,
    // each once. The text is looked through once for all of them.
    static std::vector<std::string_view> Missing(std::string_view text,
                                                 std::vector<std::string_view> entries);
    // Appends the entries of a list's text.
    static void Split(std::string_view text, std::vector<std::string>& out);

    bool IsEmpty() const;
    // Not const: it may make the index.
    bool Contains(std::string_view entry);
    // Appends an entry that is not there.
    void Add(std::string_view entry);
    // Takes out the first place where the entry's text and "#" stand, if an entry begins there.
    void RemoveFirstMatch(std::string_view entry);
    // Takes an entry out wherever it stands.
    void Erase(std::string_view entry);

    std::string Text() const { return m_index ? m_index->Text() : m_text; }

private:
    // Whether a change of `entry` is the index's; text that holds "#" is not.
    bool UsesIndex(std::string_view entry);

    std::string m_text;  // without an index
    std::optional<EntryIndex> m_index;
    std::size_t m_searched = 0;  // bytes, since there was no index
};

}  // namespace vexa::vxdependency
