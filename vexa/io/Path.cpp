#include "vexa/io/Path.h"

#include <algorithm>
#include <string_view>

#include "vexa/io/PathText.h"

namespace vexa::vxio {

namespace {

std::size_t NameStart(std::string_view path) {
    std::size_t start = path.size();
    while (start > 0 && !IsSeparator(path[start - 1])) --start;
    return start;
}

std::size_t ExtensionStart(std::string_view path) {
    const std::size_t dot = path.rfind('.');
    return dot == std::string_view::npos || dot < NameStart(path) ? path.size() : dot;
}

bool EndsInParent(std::string_view segments) {
    return segments == ".." || segments.ends_with("/..");
}

std::string AsDirectory(std::string directory) {
    if (!directory.empty() && directory.back() != '/') directory += '/';
    return directory;
}

}  // namespace

std::string FormatPath(const std::string& path) {
    const std::string anchor = AnchorText(path);
    std::string segments;
    const std::string_view relative = std::string_view(path).substr(AnchorLength(path));
    ForEachSegment(relative, [&](std::string_view segment) {
        const bool canLeave = !segments.empty() && !EndsInParent(segments);
        if (segment == ".." && canLeave)
            DropSegment(segments);
        else if (segment != ".." || anchor.empty())
            AppendSegment(segments, segment);
        return true;
    });
    if (!segments.empty() && IsSeparator(path.back())) segments += '/';
    return anchor + segments;
}

std::string CombinePath(const std::string& directory, const std::string& name) {
    const std::size_t start = std::min(name.find_first_not_of(Separators), name.size());
    if (directory.empty()) return FormatPath(name.substr(start));
    return FormatPath(directory + '/' + name.substr(start));
}

std::string GetDirName(const std::string& path) {
    return path.substr(0, NameStart(path));
}

std::string GetFileName(const std::string& path) {
    return path.substr(NameStart(path));
}

std::string GetFileExtension(std::string_view path) {
    return std::string(path.substr(ExtensionStart(path)));
}

std::string GetFileNameWithoutExtension(const std::string& path) {
    const std::size_t start = NameStart(path);
    return path.substr(start, ExtensionStart(path) - start);
}

std::string GetRelativeDir(const std::string& path, const std::string& base) {
    const std::string to = FormatPath(GetDirName(path));
    const std::string from = FormatPath(base);
    if (AnchorText(from) != AnchorText(to)) return AsDirectory(to);

    const Segments toSegments = Split(to);
    const Segments fromSegments = Split(from);
    const auto [toRest, fromRest] = std::mismatch(toSegments.begin(), toSegments.end(),
                                                  fromSegments.begin(), fromSegments.end());
    // Out of a ".." there is no way back by name.
    if (fromRest != fromSegments.end() && *fromRest == "..") return AsDirectory(to);

    std::string way;
    for (auto up = fromRest; up != fromSegments.end(); ++up) way += "../";
    for (auto down = toRest; down != toSegments.end(); ++down) way.append(*down) += '/';
    return way;
}

std::string GetStem(const std::string& path) {
    return path.substr(0, path.find('.', NameStart(path)));
}

}  // namespace vexa::vxio
