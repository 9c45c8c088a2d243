#pragma once

#include <string>
#include <string_view>

// Path functions of the engine's I/O library. They work on text alone, touch no disk and may be
// called from any thread. Both "/" and "\" count as separators on input; results that are not cut
// out of the input use "/". None of them fails.
namespace vexa::vxio {

// Every "\" made "/", runs of separators made one, "." segments dropped, and "x/.." resolved where
// x is an ordinary segment. A leading separator or drive stays, and so does leading ".." of a
// relative path; there is nothing above the root of the machine ("/../a" is "/a"). A separator at
// the end stays. "" stays "".
std::string FormatPath(const std::string& path);

// `name` joined to `directory` and formatted. Leading separators of `name` are dropped: a reference
// is never a path of the machine. An empty directory gives `name`.
std::string CombinePath(const std::string& directory, const std::string& name);

// The directory of a path with its trailing separator as written: "a\b.x" gives "a\", "b.x" gives
// "". GetDirName(p) + GetFileName(p) == p.
std::string GetDirName(const std::string& path);

// The last component: what follows the last separator.
std::string GetFileName(const std::string& path);

// The text from the last "." of the last component on, with the dot; "" for a name without one.
std::string GetFileExtension(std::string_view path);

// The last component without its extension.
std::string GetFileNameWithoutExtension(const std::string& path);

// The way from directory `base` to the directory of `path`, with a "/" at its end: from "a/b/" to
// "a/c/x.png" it is "../c/"; "" when they are the same. Where the text tells no way (one path is
// absolute and the other is not, drives differ, or `base` climbs higher than `path`) it is the
// directory of `path` itself.
std::string GetRelativeDir(const std::string& path, const std::string& base);

// The part before the first "." of the last component, with its directory; the whole path when
// there is none: "a.b/c.d.e" gives "a.b/c".
std::string GetStem(const std::string& path);

}  // namespace vexa::vxio
