#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "vexa/fx/TokenStream.h"

namespace vexa::fx {

struct StringLiteral {
    std::string text;        // escapes resolved
    std::size_t offset = 0;  // behind the first quote
};

// Collects the string literals of an expression; adjacent ones are one.
class StringLiterals {
public:
    explicit StringLiterals(TokenStream& tokens) : m_tokens(tokens) {}

    // Takes the expression's next token.
    void See(const Token& token);

    // The literals when there is nothing beside them but the punctuation of lists.
    const std::vector<StringLiteral>& Get() const { return m_literals; }

private:
    TokenStream& m_tokens;
    std::vector<StringLiteral> m_literals;
    bool m_adjacent = false;  // the last token was a string
    bool m_mixed = false;     // with something that is no string
};

// Appends what a string token stands for. `\\`, `\"`, `\'` and a hidden line feed are resolved;
// every other backslash stays, since effects write paths with single ones.
void AppendLiteral(std::string& text, std::string_view token);

}  // namespace vexa::fx
