#include "vexa/util/TextEncoding.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <optional>

namespace vexa {
namespace {

using namespace std::string_view_literals;

struct Signature {
    std::string_view bytes;
    TextEncoding encoding;
};

// In the order in which they are tried: the marks of UTF-32 begin like those of UTF-16.
constexpr Signature kSignatures[] = {
    {"\0\0\xFE\xFF"sv, TextEncoding::Utf32Big}, {"\xFF\xFE\0\0"sv, TextEncoding::Utf32Little},
    {"\xFE\xFF"sv, TextEncoding::Utf16Big},     {"\xFF\xFE"sv, TextEncoding::Utf16Little},
    {"\xEF\xBB\xBF"sv, TextEncoding::Utf8},     {"\0\0\0<"sv, TextEncoding::Utf32Big},
    {"<\0\0\0"sv, TextEncoding::Utf32Little},   {"\0<"sv, TextEncoding::Utf16Big},
    {"<\0"sv, TextEncoding::Utf16Little},
};

std::string_view SkipBlanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
}

// The value of "encoding" in an XML declaration; empty when there is none.
std::string_view DeclaredEncoding(std::string_view bytes) {
    if (!bytes.starts_with("<?xml")) return {};
    const std::string_view declaration = bytes.substr(0, bytes.find("?>"));
    const std::size_t name = declaration.find("encoding");
    if (name == declaration.npos) return {};
    std::string_view rest = SkipBlanks(declaration.substr(name + "encoding"sv.size()));
    if (!rest.starts_with('=')) return {};
    rest = SkipBlanks(rest.substr(1));
    if (!rest.starts_with('"') && !rest.starts_with('\'')) return {};
    return rest.substr(1, rest.find(rest[0], 1) - 1);
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(
        left.begin(), left.end(), right.begin(), right.end(),
        [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

void AppendUtf8(std::string& out, std::uint32_t character) {
    const auto put = [&](std::uint32_t byte) { out += static_cast<char>(byte); };
    const auto putRest = [&](int shift) { put(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | (character >> 6));
        putRest(0);
    } else if (character < 0x10000) {
        put(0xE0 | (character >> 12));
        putRest(6);
        putRest(0);
    } else {
        put(0xF0 | (character >> 18));
        putRest(12);
        putRest(6);
        putRest(0);
    }
}

// Code units of one width and byte order, one after the other.
class UnitReader {
public:
    UnitReader(std::string_view bytes, std::size_t width, bool big)
        : m_bytes(bytes), m_width(width), m_big(big) {}

    std::optional<std::uint32_t> Peek() const {
        if (m_bytes.size() < m_width) return std::nullopt;
        std::uint32_t unit = 0;
        for (std::size_t i = 0; i < m_width; ++i) {
            const std::size_t at = m_big ? i : m_width - 1 - i;
            unit = unit << 8 | static_cast<unsigned char>(m_bytes[at]);
        }
        return unit;
    }
    void Skip() { m_bytes.remove_prefix(m_width); }

private:
    std::string_view m_bytes;
    std::size_t m_width;
    bool m_big;
};

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

std::string DecodeUtf16(UnitReader units) {
    std::string text;
    while (const std::optional<std::uint32_t> unit = units.Peek()) {
        units.Skip();
        const std::optional<std::uint32_t> next = units.Peek();
        if (IsHighSurrogate(*unit) && next && IsLowSurrogate(*next)) {
            AppendUtf8(text, 0x10000 + ((*unit - 0xD800) << 10) + (*next - 0xDC00));
            units.Skip();
        } else {
            const bool alone = IsHighSurrogate(*unit) || IsLowSurrogate(*unit);
            AppendUtf8(text, alone ? kReplacement : *unit);
        }
    }
    return text;
}

std::string DecodeUtf32(UnitReader units) {
    std::string text;
    for (; const std::optional<std::uint32_t> unit = units.Peek(); units.Skip()) {
        const bool character =
            *unit <= 0x10FFFF && !IsHighSurrogate(*unit) && !IsLowSurrogate(*unit);
        AppendUtf8(text, character ? *unit : kReplacement);
    }
    return text;
}

// The bytes of the character that begins a valid UTF-8 text.
std::size_t LengthOfFirst(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// Takes the first character off a valid UTF-8 text.
std::uint32_t TakeCharacter(std::string_view& text) {
    const std::size_t length = LengthOfFirst(text);
    const auto lead = static_cast<unsigned char>(text[0]);
    std::uint32_t character = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    text.remove_prefix(length);
    return character;
}

void AppendUnit(std::string& out, std::uint32_t unit, int width, bool big) {
    for (int i = 0; i < width; ++i) {
        out += static_cast<char>(unit >> 8 * (big ? width - 1 - i : i));
    }
}

void AppendUtf16(std::string& out, std::uint32_t character, bool big) {
    if (character < 0x10000) return AppendUnit(out, character, 2, big);
    AppendUnit(out, 0xD800 + ((character - 0x10000) >> 10), 2, big);
    AppendUnit(out, 0xDC00 + ((character - 0x10000) & 0x3FF), 2, big);
}

void AppendLatin1(std::string& out, std::uint32_t character) {
    if (character < 0x100) return AppendUnit(out, character, 1, true);
    out += fmt::format("&#x{:X};", character);
}

void AppendEncoded(std::string& out, std::uint32_t character, TextEncoding encoding) {
    switch (encoding) {
        case TextEncoding::Utf16Little:
        case TextEncoding::Utf16Big:
            return AppendUtf16(out, character, encoding == TextEncoding::Utf16Big);
        case TextEncoding::Utf32Little:
        case TextEncoding::Utf32Big:
            return AppendUnit(out, character, 4, encoding == TextEncoding::Utf32Big);
        case TextEncoding::Latin1:
            return AppendLatin1(out, character);
        case TextEncoding::Utf8:
            return AppendUtf8(out, character);
    }
}

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::string DecodeLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) AppendUtf8(text, static_cast<unsigned char>(byte));
    return text;
}

}  // namespace

TextEncoding DetectXmlEncoding(std::string_view bytes) {
    // Less than this is no document, and its NULs are no sign of an encoding.
    if (bytes.size() < 4) return TextEncoding::Utf8;
    for (const auto& [signature, encoding] : kSignatures)
        if (bytes.starts_with(signature)) return encoding;
    const std::string_view declared = DeclaredEncoding(bytes);
    const bool latin1 =
        EqualIgnoringCase(declared, "ISO-8859-1") || EqualIgnoringCase(declared, "latin1");
    return latin1 ? TextEncoding::Latin1 : TextEncoding::Utf8;
}

std::string DecodeToUtf8(std::string_view bytes, TextEncoding encoding) {
    switch (encoding) {
        case TextEncoding::Utf16Little:
            return DecodeUtf16({bytes, 2, false});
        case TextEncoding::Utf16Big:
            return DecodeUtf16({bytes, 2, true});
        case TextEncoding::Utf32Little:
            return DecodeUtf32({bytes, 4, false});
        case TextEncoding::Utf32Big:
            return DecodeUtf32({bytes, 4, true});
        case TextEncoding::Latin1:
            return DecodeLatin1(bytes);
        case TextEncoding::Utf8:
            break;
    }
    return std::string(bytes);
}

std::string EncodeFromUtf8(std::string_view text, TextEncoding encoding) {
    if (encoding == TextEncoding::Utf8) return std::string(text);
    std::string bytes;
    while (!text.empty()) AppendEncoded(bytes, TakeCharacter(text), encoding);
    return bytes;
}

std::size_t EncodedSize(std::string_view text, TextEncoding encoding) {
    if (encoding == TextEncoding::Utf8) return text.size();
    std::size_t characters = 0;
    std::size_t pairs = 0;  // characters of two units in UTF-16
    for (const char byte : text) {
        characters += !IsContinuation(byte);
        pairs += static_cast<unsigned char>(byte) >= 0xF0;
    }
    if (encoding == TextEncoding::Latin1) return characters;
    const bool wide = encoding == TextEncoding::Utf32Little || encoding == TextEncoding::Utf32Big;
    return wide ? 4 * characters : 2 * (characters + pairs);
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = LengthOfFirst(text);
        if (IsContinuation(text[0]) || length > text.size()) return false;
        const std::string_view first = text.substr(0, length);
        if (!std::ranges::all_of(first.substr(1), IsContinuation)) return false;
        // What decodes to something that is written otherwise was too long, too large or no
        // character.
        const std::uint32_t character = TakeCharacter(text);
        std::string shortest;
        AppendUtf8(shortest, character);
        if (first != shortest || character > 0x10FFFF) return false;
        if (IsHighSurrogate(character) || IsLowSurrogate(character)) return false;
    }
    return true;
}

}  // namespace vexa
