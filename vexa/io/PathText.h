#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// What all functions that work on the text of a path share: both "/" and "\" separate, and a path
// is anchored by leading separators or by a drive letter, a colon and separators.
namespace vexa::vxio {

constexpr std::string_view Separators = "/\\";

constexpr bool IsSeparator(char c) {
    return c == '/' || c == '\\';
}

constexpr bool HasDrive(std::string_view path) {
    return path.size() >= 2 && path[1] == ':' &&
           ((path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z'));
}

// The length of what anchors the path to the machine, all of its separators included; 0 for a
// relative path. "C:name" is relative: a colon is an ordinary character of a file's name.
constexpr std::size_t AnchorLength(std::string_view path) {
    const std::size_t start = HasDrive(path) ? 2 : 0;
    std::size_t length = start;
    while (length < path.size() && IsSeparator(path[length])) ++length;
    return length == start ? 0 : length;
}

// The anchor in its one spelling: "", "/" or "C:/".
inline std::string AnchorText(std::string_view path) {
    if (AnchorLength(path) == 0) return {};
    return HasDrive(path) ? std::string(path.substr(0, 2)) + '/' : "/";
}

// Calls `visit` with each segment between separators that is neither empty nor ".", in order, until
// it returns false. Returns whether all were visited.
template <class Visit>
bool ForEachSegment(std::string_view path, Visit visit) {
    while (!path.empty()) {
        const std::size_t length = path.find_first_of(Separators);
        const std::string_view segment = path.substr(0, length);
        if (!segment.empty() && segment != "." && !visit(segment)) return false;
        path.remove_prefix(length == std::string_view::npos ? path.size() : length + 1);
    }
    return true;
}

using Segments = std::vector<std::string_view>;

// The segments that ForEachSegment visits; they live as long as the text.
inline Segments Split(std::string_view path) {
    Segments segments;
    ForEachSegment(path, [&](std::string_view segment) {
        segments.push_back(segment);
        return true;
    });
    return segments;
}

inline void AppendSegment(std::string& path, std::string_view segment) {
    if (!path.empty()) path += '/';
    path += segment;
}

// Cuts the last segment off a path written with "/".
inline void DropSegment(std::string& path) {
    const std::size_t slash = path.rfind('/');
    path.resize(slash == std::string::npos ? 0 : slash);
}

}  // namespace vexa::vxio
