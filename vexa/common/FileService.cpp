#include "vexa/common/FileService.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "vexa/common/KeyText.h"
#include "vexa/io/PathText.h"

namespace vexa {

namespace {

// The characters that end a segment, and the one that no path holds.
constexpr auto kEnds = [] {
    std::array<bool, 256> ends{};
    for (const unsigned char end : {'/', '\\', '\0'}) ends[end] = true;
    return ends;
}();

// The length of what stands before the first of these.
std::size_t LengthOfFirst(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && !kEnds[static_cast<unsigned char>(text[at])]) ++at;
    return at;
}

bool AppendOne(std::string_view segment, std::string& key) {
    if (segment.empty() || segment == ".") return true;
    if (segment != "..") {
        vxio::AppendSegment(key, segment);
        return true;
    }
    if (key.empty()) return false;
    vxio::DropSegment(key);
    return true;
}

bool AppendSegments(std::string_view text, std::string& key) {
    while (!text.empty()) {
        if (text.front() != '.' && IsPlainKey(text)) return AppendOne(text, key);
        const std::size_t length = LengthOfFirst(text);
        const bool ended = length < text.size();
        if ((ended && text[length] == '\0') || !AppendOne(text.substr(0, length), key))
            return false;
        text.remove_prefix(length + (ended ? 1 : 0));
    }
    return true;
}

}  // namespace

// Without branches and a way out before the end: the compiler takes sixteen characters at once.
bool IsPlainKey(std::string_view text) {
    if (text.empty() || text.front() == '.' || kEnds[static_cast<unsigned char>(text.front())])
        return false;
    unsigned char wrong = 0;
    for (std::size_t i = 1; i < text.size(); ++i) {
        const char c = text[i];
        const auto begins = static_cast<unsigned char>(text[i - 1] == '/');
        wrong |= static_cast<unsigned char>((begins & ((c == '/') | (c == '.'))) | (c == '\\') |
                                            (c == '\0'));
    }
    return wrong == 0 && text.back() != '/';
}

bool AppendNormalised(std::string_view text, std::string& key) {
    const bool valid = AppendSegments(text, key);
    if (!valid) key.clear();
    return valid;
}

bool NormaliseKey(const std::string& text, std::string& key) {
    if (&text == &key) return NormaliseKey(std::string(text), key);
    key.clear();
    return AppendNormalised(text, key);
}

std::string GeneratorForm(const std::string& key) {
    std::string form = key;
    std::replace(form.begin(), form.end(), '/', '\\');
    const bool atTop = !form.empty() && form.find('\\') == std::string::npos;
    return atTop ? ".\\" + form : form;
}

}  // namespace vexa
