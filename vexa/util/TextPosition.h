#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vexa {

// A place in a text as an editor shows it: both numbers from 1, the column in characters.
struct TextPosition {
    std::size_t line = 1;
    std::size_t column = 1;
};

// Finds the places of ascending offsets of one text, in one pass over it for all of them.
class PositionSweep {
public:
    explicit PositionSweep(std::string_view text) : m_text(text) {}

    // As PositionOf; `offset` must not be less than before.
    TextPosition Advance(std::size_t offset);

private:
    std::string_view m_text;
    std::size_t m_offset = 0;
    TextPosition m_position;
};

// The place of the byte at `offset` of a UTF-8 text; of its end when the offset lies behind it.
TextPosition PositionOf(std::string_view text, std::size_t offset);

// "line 3, column 7: reason".
std::string DescribeAt(std::string_view text, std::size_t offset, std::string_view reason);

// A parser's own words made to fit into a sentence: no capital in front, no full stop behind.
std::string AsReason(std::string_view sentence);

// The lines of a text, for many questions about one text.
class LineIndex {
public:
    explicit LineIndex(std::string_view text);

    // The line, from 1, on which an offset stands.
    std::size_t LineOf(std::size_t offset) const;

private:
    std::vector<std::size_t> m_ends;  // the offsets of the line feeds
};

}  // namespace vexa
