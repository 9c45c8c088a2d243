#include "vxdep/Json.h"

#include <rapidjson/memorystream.h>

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

// Whether the text stands for itself. Without a way out the loop looks at many bytes at once.
bool IsPlain(std::string_view bytes) {
    bool plain = true;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        plain &= byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
    }
    return plain;
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
