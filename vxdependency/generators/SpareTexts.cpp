#include "vxdependency/generators/SpareTexts.h"

#include <utility>

namespace vexa {

namespace {

// More than the longest list of most trees, and little memory.
constexpr std::size_t kMost = 1024;

std::vector<std::string>& SpareTexts() {
    thread_local std::vector<std::string> texts;
    return texts;
}

}  // namespace

std::string TakeSpareText(std::string_view like) {
    std::vector<std::string>& texts = SpareTexts();
    if (texts.empty()) return std::string(like);
    std::string text = std::move(texts.back());
    texts.pop_back();
    text = like;
    return text;
}

void GiveBackTexts(std::vector<std::string>& list) {
    std::vector<std::string>& texts = SpareTexts();
    for (std::string& text : list) {
        if (texts.size() == kMost) break;
        texts.push_back(std::move(text));
    }
    list.clear();
}

}  // namespace vexa
