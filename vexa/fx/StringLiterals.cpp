#include "vexa/fx/StringLiterals.h"

#include <algorithm>

namespace vexa::fx {

void StringLiterals::See(const Token& token) {
    const bool isString = token.kind == TokenKind::String;
    const bool isPunctuation =
        token.kind == TokenKind::Symbol &&
        std::string_view("(){},").find(token.symbol) != std::string_view::npos;
    if (!isString && !isPunctuation) {
        m_mixed = true;
        m_literals.clear();
    }
    if (isString && !m_mixed) {
        if (!m_adjacent) m_literals.push_back({"", token.begin + 1});
        AppendLiteral(m_literals.back().text, m_tokens.Text(token));
        if (!m_adjacent) m_tokens.CountKept();
    }
    m_adjacent = isString;
}

void AppendLiteral(std::string& text, std::string_view token) {
    token = token.substr(1, token.size() - 2);
    while (!token.empty()) {
        const std::size_t backslash = token.find('\\');
        text += token.substr(0, backslash);
        if (backslash == token.npos) return;
        token.remove_prefix(backslash + 1);
        const char next = token.front();
        const std::size_t hidden = token.starts_with("\r\n") ? 2 : next == '\n' ? 1 : 0;
        if (hidden == 0) {
            if (next != '\\' && next != '"' && next != '\'') text += '\\';
            text += next;
        }
        token.remove_prefix(std::max<std::size_t>(hidden, 1));
    }
}

}  // namespace vexa::fx
