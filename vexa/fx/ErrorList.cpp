#include "vexa/fx/ErrorList.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "vexa/util/TextPosition.h"

namespace vexa::fx {

void ErrorList::Add(std::size_t offset, std::string reason) {
    const bool isRepeated = !m_errors.empty() && m_errors.back().offset == offset;
    if (isRepeated || IsFull()) return;
    if (m_errors.size() == kMaxErrors) reason = "further errors are not listed";
    m_errors.push_back({offset, std::move(reason)});
}

std::vector<Message> ErrorList::Locate(std::string_view text) const {
    std::vector<Error> errors = m_errors;
    std::ranges::stable_sort(errors, {}, &Error::offset);
    std::vector<Message> messages;
    PositionSweep sweep(text);
    for (const Error& error : errors) {
        const TextPosition at = sweep.Advance(error.offset);
        messages.push_back(
            {error.offset, at.line, at.column,
             fmt::format("line {}, column {}: {}", at.line, at.column, error.reason)});
    }
    return messages;
}

}  // namespace vexa::fx
