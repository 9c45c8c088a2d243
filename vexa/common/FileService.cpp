#include "vexa/common/FileService.h"

#include <algorithm>

#include "vexa/io/PathText.h"

namespace vexa {

bool NormaliseKey(const std::string& text, std::string& key) {
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
