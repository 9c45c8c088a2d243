#pragma once

#include <cstddef>
#include <string_view>

#include "vexa/fx/ErrorList.h"

namespace vexa::fx {

enum class TokenKind : unsigned char {
    End,
    Name,
    Number,
    String,  // with its quotes
    Symbol,  // one character
    Broken,  // has been reported
    // Lines of the preprocessor that tell of alternatives; #elif counts as Else.
    If,
    Else,
    EndIf,
};

struct Token {
    TokenKind kind = TokenKind::End;
    char symbol = '\0';  // of a Symbol
    std::size_t begin = 0;
    std::size_t end = 0;
};

// Cuts a text into tokens, from its beginning to its end. Comments and the other lines of the
// preprocessor are passed over.
class Lexer {
public:
    // Both must outlive the lexer.
    Lexer(std::string_view text, ErrorList& errors);

    // The next token; End for ever once the text is over.
    Token Next();

    // Leaves the rest of the text unread: Next gives End from now on.
    void Stop() { m_at = m_text.size(); }

private:
    bool At(std::string_view what) const { return m_text.substr(m_at, what.size()) == what; }
    bool Looking(unsigned char characterClass) const;
    bool HidesLineFeed(std::size_t backslash) const;
    void SkipBlanksAndComments();
    bool SkipComment();
    void SkipLineComment();
    void SkipBlockComment();
    void SkipDirective();
    bool SkipString();
    Token ReadDirective();
    Token ReadName();
    Token ReadNumber();
    Token ReadString();

    std::string_view m_text;
    ErrorList& m_errors;
    std::size_t m_at = 0;
    bool m_beginsLine = true;  // only blanks and comments since the line began
};

}  // namespace vexa::fx
