#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "vexa/io/Path.h"
#include "vexa/io/PathText.h"
#include "vexa/os/WindowsApi.h"

// The shell's functions on the text of a path. Both separators are read, "/" is written.

namespace {

using namespace vexa::vxio;

bool Deliver(const std::string& path, LPSTR out) {
    const bool fits = path.size() <= MAX_PATH;
    out[fits ? path.copy(out, MAX_PATH) : 0] = '\0';
    return fits;
}

bool IsDirectory(DWORD attributes) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// The directories of an anchored path: without its last segment when that is a file.
std::size_t CountDirectories(const Segments& segments, DWORD attributes) {
    return segments.empty() || IsDirectory(attributes) ? segments.size() : segments.size() - 1;
}

std::string Way(const Segments& from, std::size_t fromDirectories, const Segments& to,
                std::size_t toDirectories) {
    const std::size_t limit = std::min(fromDirectories, toDirectories);
    const auto common = static_cast<std::size_t>(
        std::mismatch(from.begin(), from.begin() + static_cast<std::ptrdiff_t>(limit), to.begin())
            .first -
        from.begin());

    std::string way = common == fromDirectories ? "." : "";
    for (std::size_t up = common; up < fromDirectories; ++up) AppendSegment(way, "..");
    for (std::size_t down = common; down < to.size(); ++down) AppendSegment(way, to[down]);
    return way;
}

}  // namespace

BOOL PathIsRelativeA(LPCSTR path) {
    if (path == nullptr || *path == '\0') return TRUE;
    return IsSeparator(*path) || HasDrive(path) ? FALSE : TRUE;
}

LPSTR PathCombineA(LPSTR out, LPCSTR directory, LPCSTR file) {
    if (out == nullptr) return nullptr;
    // Copied first: `out` may be one of the arguments.
    std::string joined = directory == nullptr ? "" : directory;
    const std::string name = file == nullptr ? "" : file;
    *out = '\0';
    if (directory == nullptr && file == nullptr) return nullptr;

    if (PathIsRelativeA(name.c_str()) == FALSE)
        joined = name;
    else if (!name.empty())
        AppendSegment(joined, name);
    return Deliver(FormatPath(joined), out) ? out : nullptr;
}

BOOL PathRelativePathToA(LPSTR out, LPCSTR from, DWORD fromAttributes, LPCSTR to,
                         DWORD toAttributes) {
    if (out == nullptr) return FALSE;
    const std::string start = FormatPath(from == nullptr ? "" : from);
    const std::string end = FormatPath(to == nullptr ? "" : to);
    *out = '\0';
    const std::string anchor = AnchorText(start);
    if (anchor.empty() || anchor != AnchorText(end)) return FALSE;

    const Segments startSegments = Split(start);
    const Segments endSegments = Split(end);
    const std::string way = Way(startSegments, CountDirectories(startSegments, fromAttributes),
                                endSegments, CountDirectories(endSegments, toAttributes));
    return Deliver(way, out) ? TRUE : FALSE;
}
