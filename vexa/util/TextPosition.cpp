#include "vexa/util/TextPosition.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace vexa {
namespace {

bool BeginsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

}  // namespace

TextPosition PositionSweep::Advance(std::size_t offset) {
    const std::string_view passed = m_text.substr(m_offset, offset - m_offset);
    const std::size_t feed = passed.rfind('\n');
    if (feed != passed.npos) {
        m_position.line += static_cast<std::size_t>(std::count(passed.begin(), passed.end(), '\n'));
        m_position.column = 1;
    }
    const std::string_view onLine = passed.substr(feed == passed.npos ? 0 : feed + 1);
    m_position.column +=
        static_cast<std::size_t>(std::count_if(onLine.begin(), onLine.end(), BeginsCharacter));
    m_offset += passed.size();
    return m_position;
}

TextPosition PositionOf(std::string_view text, std::size_t offset) {
    return PositionSweep(text).Advance(offset);
}

std::string DescribeAt(std::string_view text, std::size_t offset, std::string_view reason) {
    const TextPosition at = PositionOf(text, offset);
    return fmt::format("line {}, column {}: {}", at.line, at.column, reason);
}

std::string AsReason(std::string_view sentence) {
    std::string reason(sentence);
    if (!reason.empty() && reason.back() == '.') reason.pop_back();
    if (!reason.empty())
        reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
    return reason;
}

LineIndex::LineIndex(std::string_view text) {
    for (std::size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 1))
        m_ends.push_back(at);
}

std::size_t LineIndex::LineOf(std::size_t offset) const {
    const auto end = std::lower_bound(m_ends.begin(), m_ends.end(), offset);
    return static_cast<std::size_t>(end - m_ends.begin()) + 1;
}

}  // namespace vexa
