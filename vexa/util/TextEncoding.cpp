#include "vexa/util/TextEncoding.h"

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

}  // namespace vexa
