#pragma once

#include <rapidjson/reader.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// What reading and saving JSON documents share: the parser's events, and where in the text they
// are.
namespace vexa::ujson {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// The values that a document may have.
constexpr std::size_t kValueLimit = std::size_t{1} << 25;

// In JSON the first two characters are ASCII.
inline bool IsWideText(std::string_view text) {
    return text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE") ||
           text.substr(0, 2).find('\0') != text.npos;
}

// How texts are parsed. Not recursive, since depth comes from input.
constexpr unsigned kReadOptions = rapidjson::kParseIterativeFlag | rapidjson::kParseCommentsFlag;

// The parser's input: a text that ends in NUL, behind its byte order mark. Unlike the library's own
// stream it is never copied, so that the handler can ask how far the parser is.
class TextStream {
public:
    using Ch = char;

    explicit TextStream(const std::string& text)
        : m_begin(text.c_str()),
          m_at(m_begin + (text.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0)) {}
    TextStream(const TextStream&) = delete;
    TextStream& operator=(const TextStream&) = delete;

    char Peek() const { return *m_at; }
    char Take() { return *m_at++; }
    std::size_t Tell() const { return static_cast<std::size_t>(m_at - m_begin); }

    // Asked for by the library's concept of a stream, for parsing in place only.
    char* PutBegin() { return nullptr; }
    void Put(char) {}
    std::size_t PutEnd(char*) { return 0; }

private:
    const char* m_begin;
    const char* m_at;
};

inline bool IsEscaped(std::string_view text, std::size_t at) {
    const std::size_t before = text.substr(0, at).find_last_not_of('\\');
    return (at - before) % 2 == 0;  // npos + 1 is 0, so this holds at the text's start as well
}

// The opening quote of the string literal that ends before `end`.
inline std::size_t StringBegin(std::string_view text, std::size_t end) {
    std::size_t at = end - 1;
    do at = text.rfind('"', at - 1);
    while (IsEscaped(text, at));
    return at;
}

inline bool IsOfNumber(char c) {
    return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E';
}

// The part of a handler that takes numbers of every size for doubles.
template <class Handler>
class NumbersAsDoubles {
public:
    bool Int(int number) { return Pass(number); }
    bool Uint(unsigned number) { return Pass(number); }
    bool Int64(std::int64_t number) { return Pass(static_cast<double>(number)); }
    bool Uint64(std::uint64_t number) { return Pass(static_cast<double>(number)); }
    bool RawNumber(const char*, rapidjson::SizeType, bool) { return false; }  // not asked for

private:
    bool Pass(double number) { return static_cast<Handler*>(this)->Double(number); }
};

// Hands the events of a text to a handler, until that returns false.
template <class Handler>
rapidjson::ParseResult ReadEvents(TextStream& stream, Handler& handler) {
    return rapidjson::Reader().Parse<kReadOptions>(stream, handler);
}

}  // namespace vexa::ujson
