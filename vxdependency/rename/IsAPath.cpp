// The test whether a text looks like a path.

#include <algorithm>
#include <charconv>
#include <string_view>

#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {

namespace {

constexpr std::size_t kLongestPath = 260;
constexpr std::size_t kLongestExtension = 16;

// Of ASCII alone, in any locale.
bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsLetterOrDigit(char c) {
    return IsLetter(c) || (c >= '0' && c <= '9');
}

bool IsControl(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code < 0x20 || code == 0x7F;
}

bool IsUrl(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return false;
    const std::string_view scheme = text.substr(0, colon);
    const auto isData = [](char a, char b) { return (a | 0x20) == b; };
    if (std::ranges::equal(scheme, std::string_view("data"), isData)) return true;
    // A lone letter before the colon is a drive.
    return colon > 1 && text.substr(colon, 3) == "://" && std::ranges::all_of(scheme, [](char c) {
               return IsLetterOrDigit(c) || c == '+' || c == '-' || c == '.';
           });
}

bool IsNumber(std::string_view token) {
    if (!token.empty() && token.front() == '+') token.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
    if (error == std::errc::invalid_argument) return false;
    const std::string_view rest(end, static_cast<std::size_t>(token.data() + token.size() - end));
    return rest.empty() || rest == "f" || rest == "F";
}

// One number or several ("0.5 1.0e3"), as positions and colours are written; with an exponent they
// would seem to have an extension.
bool IsNumbers(std::string_view text) {
    constexpr std::string_view kBetween = " ,;";
    bool any = false;
    while (true) {
        const std::size_t begin = text.find_first_not_of(kBetween);
        if (begin == std::string_view::npos) return any;
        text.remove_prefix(begin);
        const std::size_t end = std::min(text.find_first_of(kBetween), text.size());
        if (!IsNumber(text.substr(0, end))) return false;
        any = true;
        text.remove_prefix(end);
    }
}

bool HasExtension(std::string_view text) {
    const std::size_t dot = text.rfind('.');
    if (dot == std::string_view::npos) return false;
    const std::string_view extension = text.substr(dot + 1);
    return !extension.empty() && extension.size() <= kLongestExtension &&
           std::ranges::all_of(extension, IsLetterOrDigit) &&
           std::ranges::any_of(extension, IsLetter);
}

}  // namespace

bool FileNameProcessor::IsAPath(const std::string& text) {
    if (text.size() > kLongestPath || std::ranges::any_of(text, IsControl)) return false;
    if (text.find_first_of("/\\") == std::string::npos && !HasExtension(text)) return false;
    return !IsUrl(text) && !IsNumbers(text);
}

}  // namespace vexa
