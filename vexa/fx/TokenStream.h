#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/fx/Lexer.h"
#include "vexa/util/TextPosition.h"

namespace vexa::fx {

// Where an expression ends, beside ';' and the '}' of what it stands in.
enum class ExpressionEnd { Statement, Declarator /* ',' */, Annotation /* '>' */ };

// `technique`, `technique10`, `technique11`.
bool IsTechniqueWord(std::string_view word);

// The tokens of a text with the current one in view, and the moves that every reader of the
// language needs. Goes forward only, and counts where others would recurse.
class TokenStream {
public:
    TokenStream(std::string_view text, ErrorList& errors);

    const Token& Current() const { return m_current; }
    bool AtEnd() const { return m_current.kind == TokenKind::End; }
    bool Is(char symbol) const { return m_current.symbol == symbol; }
    bool IsName() const { return m_current.kind == TokenKind::Name; }
    bool IsWord(std::string_view word) const;  // a name, compared without case
    bool IsTechnique() const;
    std::string_view Text(const Token& token) const;
    std::string_view Text() const { return Text(m_current); }

    void Consume();
    bool Accept(char symbol);
    // Consumes a name and returns it; "" when none stands here.
    std::string_view AcceptName();
    // As Accept; without the symbol an error, and Resynchronise.
    bool Expect(char symbol);

    // "expected ';', found '}'" at the current token; nothing more of a token that is broken.
    void FailExpecting(std::string_view expected);
    void FailAt(std::size_t offset, std::string reason);
    // Behind the next ';' or balanced '}', before the '}' of what surrounds the place or a
    // technique.
    void Resynchronise();

    // From a '{' behind its '}', or to a technique, which no braces that are skipped can hold.
    // Where branches of a conditional open braces each, one '}' closes them all: every #else goes
    // on from where its #if stood.
    void SkipBraces();
    // From an opening symbol behind its counterpart, within one statement. Returns what stands
    // between them, "" when there is no counterpart.
    std::string_view SkipNested(char open, char close);
    // Behind a statement's ';', which may be missing after a '}'.
    void EndStatement(bool afterBraces);

    // Hands each token of an expression to `see`. True when it ended with a closed brace.
    template <class See>
    bool ReadExpression(ExpressionEnd end, See see);

    // Counts something that is kept of the text; at a million the rest is not read.
    void CountKept();

    // The line of an offset; offsets must not descend.
    std::size_t LineOf(std::size_t offset) { return m_lines.Advance(offset).line; }

private:
    struct Nesting {
        std::size_t parentheses = 0;  // brackets too
        std::size_t braces = 0;
    };

    void Fetch();
    std::string Describe(const Token& token) const;
    bool Ends(ExpressionEnd end, const Nesting& nesting) const;
    void Track(Nesting& nesting) const;

    std::string_view m_text;
    ErrorList& m_errors;
    Lexer m_lexer;
    PositionSweep m_lines;
    Token m_current;
    std::uint32_t m_depth = 0;                  // of braces, before the current token
    std::vector<std::uint32_t> m_conditionals;  // the depth at each open #if
    std::size_t m_kept = 0;
};

template <class See>
bool TokenStream::ReadExpression(ExpressionEnd end, See see) {
    Nesting nesting;
    if (Ends(end, nesting)) FailExpecting("a value");
    while (!AtEnd() && !Ends(end, nesting)) {
        const Token token = m_current;
        Track(nesting);
        see(token);
        Consume();
        if (token.symbol == '}' && nesting.braces == 0 && nesting.parentheses == 0) return true;
    }
    if (nesting.parentheses > 0) FailExpecting("')'");
    return false;
}

}  // namespace vexa::fx
