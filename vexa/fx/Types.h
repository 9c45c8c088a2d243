#pragma once

#include <optional>
#include <string_view>
#include <unordered_map>

namespace vexa::fx {

// Names are compared without case: the language does so for its oldest words, and effects mix
// "texture2D" with "Texture2D".
bool EqualsWithoutCase(std::string_view a, std::string_view b);

// A word that may stand before a type: `uniform`, `static`, `row_major`.
bool IsModifier(std::string_view word);

// `struct` and what is written like it.
bool IsStructWord(std::string_view word);

// The types that a text may use: those of the language and those that it defines itself.
class TypeTable {
public:
    // The TypeCode of a type; none for a name that is not known.
    std::optional<int> Find(std::string_view name) const;

    // The name must outlive the table.
    void Define(std::string_view name, int type);

private:
    std::unordered_map<std::string_view, int> m_defined;
};

}  // namespace vexa::fx
