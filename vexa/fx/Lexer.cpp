#include "vexa/fx/Lexer.h"

#include <algorithm>
#include <array>

namespace vexa::fx {
namespace {

// Names are copied to wherever they apply, so that long ones could fill the memory.
constexpr std::size_t kMaxNameLength = 256;

enum CharacterClass : unsigned char { kBlank = 1, kNameStart = 2, kDigit = 4 };

constexpr auto kClasses = [] {
    std::array<unsigned char, 256> classes{};
    for (const char c : {' ', '\t', '\r', '\n', '\v', '\f'}) {
        classes[static_cast<unsigned char>(c)] = kBlank;
    }
    for (int c = '0'; c <= '9'; ++c) classes[static_cast<std::size_t>(c)] = kDigit;
    for (int c = 'a'; c <= 'z'; ++c) classes[static_cast<std::size_t>(c)] = kNameStart;
    for (int c = 'A'; c <= 'Z'; ++c) classes[static_cast<std::size_t>(c)] = kNameStart;
    for (std::size_t c = 0x80; c < 0x100; ++c) classes[c] = kNameStart;
    classes['_'] = kNameStart;
    return classes;
}();

bool Is(char c, unsigned char characterClass) {
    return (kClasses[static_cast<unsigned char>(c)] & characterClass) != 0;
}

TokenKind KindOfDirective(std::string_view name) {
    if (name == "if" || name == "ifdef" || name == "ifndef") return TokenKind::If;
    if (name == "else" || name == "elif") return TokenKind::Else;
    if (name == "endif") return TokenKind::EndIf;
    return TokenKind::End;
}

}  // namespace

Lexer::Lexer(std::string_view text, ErrorList& errors) : m_text(text), m_errors(errors) {
    if (At("\xEF\xBB\xBF")) m_at = 3;
}

bool Lexer::Looking(unsigned char characterClass) const {
    return m_at < m_text.size() && Is(m_text[m_at], characterClass);
}

Token Lexer::Next() {
    for (;;) {
        SkipBlanksAndComments();
        if (m_at == m_text.size()) return {TokenKind::End, '\0', m_at, m_at};
        if (m_text[m_at] != '#' || !m_beginsLine) break;
        if (const Token token = ReadDirective(); token.kind != TokenKind::End) return token;
    }
    m_beginsLine = false;
    if (Looking(kNameStart)) return ReadName();
    if (Looking(kDigit)) return ReadNumber();
    if (m_text[m_at] == '"') return ReadString();
    const std::size_t begin = m_at++;
    return {TokenKind::Symbol, m_text[begin], begin, m_at};
}

void Lexer::SkipBlanksAndComments() {
    while (m_at < m_text.size()) {
        const char c = m_text[m_at];
        if (Is(c, kBlank)) {
            m_beginsLine |= c == '\n';
            ++m_at;
        } else if (c == '\\' && HidesLineFeed(m_at)) {
            m_at = m_text.find('\n', m_at) + 1;
        } else if (c != '/' || !SkipComment()) {
            return;
        }
    }
}

bool Lexer::HidesLineFeed(std::size_t backslash) const {
    const std::string_view next = m_text.substr(backslash + 1, 2);
    return next.starts_with('\n') || next == "\r\n";
}

bool Lexer::SkipComment() {
    if (At("//")) {
        SkipLineComment();
    } else if (At("/*")) {
        SkipBlockComment();
    } else {
        return false;
    }
    return true;
}

// To the first line feed that no backslash hides.
void Lexer::SkipLineComment() {
    for (;; ++m_at) {
        m_at = std::min(m_text.find('\n', m_at), m_text.size());
        std::string_view line = m_text.substr(0, m_at);
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (m_at == m_text.size() || !line.ends_with('\\')) return;
    }
}

void Lexer::SkipBlockComment() {
    const std::size_t end = m_text.find("*/", m_at + 2);
    if (end == m_text.npos) m_errors.Add(m_at, "the comment is not closed");
    m_at = end == m_text.npos ? m_text.size() : end + 2;
}

// To the line feed that ends a line of the preprocessor.
void Lexer::SkipDirective() {
    while (m_at < m_text.size() && m_text[m_at] != '\n') {
        const char c = m_text[m_at];
        if (c == '"') {
            SkipString();
        } else if (c == '\\' && HidesLineFeed(m_at)) {
            m_at = m_text.find('\n', m_at) + 1;
        } else if (!SkipComment()) {
            ++m_at;
        }
    }
}

// Behind the closing quote; to the end of the line, and false, when there is none.
bool Lexer::SkipString() {
    for (++m_at; m_at < m_text.size() && m_text[m_at] != '\n'; ++m_at) {
        const char c = m_text[m_at];
        if (c == '\\') m_at = HidesLineFeed(m_at) ? m_text.find('\n', m_at) : m_at + 1;
        if (c == '"') {
            ++m_at;
            return true;
        }
    }
    m_at = std::min(m_at, m_text.size());  // a backslash may be the last byte
    return false;
}

// A token for a conditional, End for every other line.
Token Lexer::ReadDirective() {
    const std::size_t begin = m_at++;
    while (Looking(kBlank) && m_text[m_at] != '\n') ++m_at;
    const std::size_t name = m_at;
    while (Looking(kNameStart)) ++m_at;
    const TokenKind kind = KindOfDirective(m_text.substr(name, m_at - name));
    SkipDirective();
    return {kind, '\0', begin, m_at};
}

Token Lexer::ReadName() {
    const std::size_t begin = m_at;
    while (Looking(kNameStart | kDigit)) ++m_at;
    if (m_at - begin <= kMaxNameLength) return {TokenKind::Name, '\0', begin, m_at};
    m_errors.Add(begin, "a name is longer than 256 bytes");
    return {TokenKind::Broken, '\0', begin, m_at};
}

// With its suffix, as "1.5f"; signs, also that of an exponent, are tokens of their own.
Token Lexer::ReadNumber() {
    const std::size_t begin = m_at;
    while (Looking(kNameStart | kDigit) || At(".")) ++m_at;
    return {TokenKind::Number, '\0', begin, m_at};
}

Token Lexer::ReadString() {
    const std::size_t begin = m_at;
    if (SkipString()) return {TokenKind::String, '\0', begin, m_at};
    m_errors.Add(begin, "the string is not closed");
    return {TokenKind::Broken, '\0', begin, m_at};
}

}  // namespace vexa::fx
