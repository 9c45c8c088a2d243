#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/fx/Parser.h"

namespace vexa::fx {

// The errors of one text as they are found, one for one place. Keeps the first thousand, so that a
// text of nothing but errors does not fill the memory.
class ErrorList {
public:
    void Add(std::size_t offset, std::string reason);

    bool IsEmpty() const { return m_errors.empty(); }
    bool IsFull() const { return m_errors.size() > kMaxErrors; }

    // All in the order of the text, with their lines and columns.
    std::vector<Message> Locate(std::string_view text) const;

private:
    static constexpr std::size_t kMaxErrors = 1000;

    struct Error {
        std::size_t offset;
        std::string reason;
    };

    std::vector<Error> m_errors;
};

}  // namespace vexa::fx
