#include "vexa/common/FileService.h"

#include <algorithm>
#include <string_view>

#include "vexa/io/PathText.h"

namespace vexa {

namespace {

// Most texts are keys already; to see that costs a tenth of taking them apart.
bool IsKey(std::string_view text) {
    bool atStart = true;  // of a segment
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\' || c == '\0' || (atStart && (c == '/' || c == '.'))) return false;
        atStart = c == '/';
    }
    return !atStart;
}

}  // namespace

bool NormaliseKey(const std::string& text, std::string& key) {
    if (IsKey(text)) {
        key = text;
        return true;
    }
    std::string normal;
    const bool inside = vxio::ForEachSegment(text, [&](std::string_view segment) {
        if (segment != "..") {
            vxio::AppendSegment(normal, segment);
            return true;
        }
        if (normal.empty()) return false;
        vxio::DropSegment(normal);
        return true;
    });
    const bool valid = inside && text.find('\0') == std::string::npos;
    key = valid ? normal : std::string();
    return valid;
}

std::string GeneratorForm(const std::string& key) {
    std::string form = key;
    std::replace(form.begin(), form.end(), '/', '\\');
    const bool atTop = !form.empty() && form.find('\\') == std::string::npos;
    return atTop ? ".\\" + form : form;
}

}  // namespace vexa
