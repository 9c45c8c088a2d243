#include "vexa/fx/TokenStream.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "vexa/fx/Types.h"

namespace vexa::fx {
namespace {

constexpr std::size_t kMaxKept = 1000000;
constexpr std::size_t kMaxShown = 40;  // bytes of a token in a message

}  // namespace

bool IsTechniqueWord(std::string_view word) {
    constexpr std::string_view kWord = "technique";
    if (word.size() < kWord.size() || !EqualsWithoutCase(word.substr(0, kWord.size()), kWord))
        return false;
    const std::string_view version = word.substr(kWord.size());
    return version.empty() || version == "10" || version == "11";
}

TokenStream::TokenStream(std::string_view text, ErrorList& errors)
    : m_text(text), m_errors(errors), m_lexer(text, errors), m_lines(text) {
    Fetch();
}

bool TokenStream::IsWord(std::string_view word) const {
    return IsName() && EqualsWithoutCase(Text(), word);
}

bool TokenStream::IsTechnique() const {
    return IsName() && IsTechniqueWord(Text());
}

std::string_view TokenStream::Text(const Token& token) const {
    return m_text.substr(token.begin, token.end - token.begin);
}

void TokenStream::Consume() {
    if (Is('{')) ++m_depth;
    if (Is('}') && m_depth > 0) --m_depth;
    Fetch();
}

void TokenStream::Fetch() {
    for (;;) {
        m_current = m_lexer.Next();
        if (m_current.kind < TokenKind::If) return;
        if (m_current.kind == TokenKind::If) {
            m_conditionals.push_back(m_depth);
        } else if (!m_conditionals.empty()) {
            if (m_current.kind == TokenKind::Else) m_depth = m_conditionals.back();
            if (m_current.kind == TokenKind::EndIf) m_conditionals.pop_back();
        }
    }
}

bool TokenStream::Accept(char symbol) {
    if (!Is(symbol)) return false;
    Consume();
    return true;
}

std::string_view TokenStream::AcceptName() {
    if (!IsName()) return {};
    const std::string_view name = Text();
    Consume();
    return name;
}

bool TokenStream::Expect(char symbol) {
    if (Accept(symbol)) return true;
    FailExpecting(fmt::format("'{}'", symbol));
    Resynchronise();
    return false;
}

void TokenStream::FailExpecting(std::string_view expected) {
    const bool isKnown = m_current.kind == TokenKind::Broken || m_kept > kMaxKept;
    if (isKnown || m_errors.IsFull()) return;
    FailAt(m_current.begin, fmt::format("expected {}, found {}", expected, Describe(m_current)));
}

std::string TokenStream::Describe(const Token& token) const {
    const std::string_view text = Text(token);
    if (token.kind == TokenKind::End) return "the end";
    if (token.kind == TokenKind::String) return "a string";
    if (token.symbol != '\0' && !std::isprint(static_cast<unsigned char>(token.symbol)))
        return fmt::format("the byte {:#04x}", static_cast<unsigned char>(token.symbol));
    if (text.size() <= kMaxShown) return fmt::format("'{}'", text);
    std::size_t end = kMaxShown;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return fmt::format("'{}...'", text.substr(0, end));
}

void TokenStream::FailAt(std::size_t offset, std::string reason) {
    m_errors.Add(offset, std::move(reason));
}

void TokenStream::Resynchronise() {
    while (!AtEnd() && !Is('}') && !IsTechnique()) {
        if (Is('{')) return SkipBraces();
        if (Accept(';')) return;
        Consume();
    }
}

void TokenStream::SkipBraces() {
    const std::size_t open = m_current.begin;
    const std::uint32_t outside = m_depth;
    do Consume();
    while (!AtEnd() && !IsTechnique() && m_depth > outside);
    if (m_depth > outside) FailAt(open, "'{' is not closed");
    m_depth = std::min(m_depth, outside);
}

std::string_view TokenStream::SkipNested(char open, char close) {
    Consume();
    const std::size_t begin = m_current.begin;
    std::size_t end = begin;
    for (std::size_t depth = 1; !AtEnd() && !Is(';') && !Is('{') && !Is('}'); Consume()) {
        if (Is(open)) ++depth;
        if (Is(close)) --depth;
        if (depth == 0) {
            Consume();
            return m_text.substr(begin, end - begin);
        }
        end = m_current.end;
    }
    FailExpecting(fmt::format("'{}'", close));
    return {};
}

void TokenStream::EndStatement(bool afterBraces) {
    if (Accept(';') || afterBraces) return;
    FailExpecting("';'");
    Resynchronise();
}

bool TokenStream::Ends(ExpressionEnd end, const Nesting& nesting) const {
    if (nesting.braces > 0) return end == ExpressionEnd::Annotation && Is(';');
    if (Is(';') || Is('}') || IsTechnique()) return true;
    if (nesting.parentheses > 0) return false;
    return (end == ExpressionEnd::Declarator && Is(',')) ||
           (end == ExpressionEnd::Annotation && Is('>'));
}

void TokenStream::Track(Nesting& nesting) const {
    if (Is('(') || Is('[')) ++nesting.parentheses;
    if ((Is(')') || Is(']')) && nesting.parentheses > 0) --nesting.parentheses;
    if (Is('{')) ++nesting.braces;
    if (Is('}')) --nesting.braces;
}

void TokenStream::CountKept() {
    if (++m_kept != kMaxKept + 1) return;
    FailAt(m_current.begin, "more than 1000000 declarations; the rest is not read");
    m_lexer.Stop();
    Fetch();
}

}  // namespace vexa::fx
