#include "vxdep/Json.h"

#include <rapidjson/memorystream.h>

#include <cstdint>
#include <cstring>

namespace vxdep {

namespace {

void AppendEscape(std::string& out, unsigned code) {
    constexpr char kDigits[] = "0123456789abcdef";
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[code >> shift & 0xF];
}

void AppendCharacter(std::string& out, std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    if (first == '"' || first == '\\') {
        (out += '\\') += character;
    } else if (first < 0x20) {
        AppendEscape(out, first);
    } else {
        out += character;
    }
}

constexpr std::uint64_t InEachByte(unsigned char byte) {
    return ~std::uint64_t{0} / 0xFF * byte;
}

// What has the highest bit of a byte set where that is below `limit`, which is 0x80 at most; true
// of the lowest such byte, and of none when there is none.
constexpr std::uint64_t Below(std::uint64_t bytes, unsigned char limit) {
    return (bytes - InEachByte(limit)) & ~bytes;
}

bool IsPlain(std::uint64_t bytes) {
    const std::uint64_t marks = bytes | Below(bytes, 0x20) | Below(bytes ^ InEachByte('"'), 1) |
                                Below(bytes ^ InEachByte('\\'), 1);
    return (marks & InEachByte(0x80)) == 0;
}

// Whether the text stands for itself. Eight bytes at once: most of an export is this question.
bool IsPlain(std::string_view text) {
    std::uint64_t bytes = 0;
    for (; text.size() >= sizeof bytes; text.remove_prefix(sizeof bytes)) {
        std::memcpy(&bytes, text.data(), sizeof bytes);
        if (!IsPlain(bytes)) return false;
    }
    bytes = InEachByte('x');
    std::memcpy(&bytes, text.data(), text.size());
    return IsPlain(bytes);
}

}  // namespace

void AppendJsonText(std::string& out, std::string_view bytes) {
    out += '"';
    if (IsPlain(bytes)) {
        (out += bytes) += '"';
        return;
    }
    while (!bytes.empty()) {
        rapidjson::MemoryStream stream(bytes.data(), bytes.size());
        unsigned codePoint = 0;
        if (rapidjson::UTF8<>::Decode(stream, &codePoint)) {
            AppendCharacter(out, bytes.substr(0, stream.Tell()));
            bytes.remove_prefix(stream.Tell());
        } else {
            AppendEscape(out, 0xDC00U + static_cast<unsigned char>(bytes.front()));
            bytes.remove_prefix(1);
        }
    }
    out += '"';
}

std::string JsonText(std::string_view bytes) {
    std::string out;
    AppendJsonText(out, bytes);
    return out;
}

void WriteText(JsonWriter& writer, std::string_view bytes) {
    const std::string text = JsonText(bytes);
    writer.RawValue(text.data(), text.size(), rapidjson::kStringType);
}

void WriteMember(JsonWriter& writer, std::string_view name, std::string_view value) {
    WriteText(writer, name);
    WriteText(writer, value);
}

void WriteArray(JsonWriter& writer, const std::vector<std::string>& list) {
    writer.StartArray();
    for (const std::string& entry : list) WriteText(writer, entry);
    writer.EndArray();
}

}  // namespace vxdep
