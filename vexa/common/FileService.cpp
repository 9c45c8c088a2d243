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

// Whether there is a character that a plain key does not hold at a place or, if it may not follow
// a "/", right behind one. Without branches, for the compiler to take many places at once.
inline unsigned char IsWrong(const char* at) {
    const char c = *at;
    const auto begins = static_cast<unsigned char>(at[-1] == '/');
    return static_cast<unsigned char>((begins & ((c == '/') | (c == '.'))) | (c == '\\') |
                                      (c == '\0'));
}

constexpr std::size_t kBlock = 16;

// Not unrolled, the loop becomes thirty instructions of 16 bytes.
inline unsigned char IsBlockWrong(const char* block) {
    unsigned char wrong = 0;
#pragma GCC unroll 1
    for (std::size_t i = 0; i < kBlock; ++i) wrong |= IsWrong(block + i);
    return wrong;
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

// All is blocks: some characters are looked at twice.
bool IsPlainKey(std::string_view text) {
    if (text.empty() || text.front() == '.' || kEnds[static_cast<unsigned char>(text.front())] ||
        text.back() == '/')
        return false;
    const char* const begin = text.data() + 1;
    const char* const end = text.data() + text.size();
    unsigned char wrong = 0;
    if (text.size() <= kBlock) {
        for (const char* at = begin; at < end; ++at) wrong |= IsWrong(at);
        return wrong == 0;
    }
    for (const char* at = begin; at < end - kBlock; at += kBlock) wrong |= IsBlockWrong(at);
    wrong |= IsBlockWrong(end - kBlock);
    return wrong == 0;
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
