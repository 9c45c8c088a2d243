#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vxdep {

// The resource keys that a path argument may mean, the likeliest first; never empty. To be called
// before the working directory changes.
//
// A path that exists has one reading: relative to the working directory, else to the resource root
// `resources` (an absolute directory). One that exists nowhere may still be known to the store: it
// is a key, or a path relative to the working directory. Links on the way to the resource root are
// followed; those below it are resources themselves. Throws Failure for a path outside of it.
std::vector<std::string> KeysOfArgument(const std::string& argument,
                                        const std::filesystem::path& resources);

// The key of a path that may not exist yet, and is to: one that exists has the reading above;
// otherwise it is relative to the working directory where its folder is there and below the
// resource root, else to the resource root. Throws Failure as above.
std::string KeyOfNewPath(const std::string& argument, const std::filesystem::path& resources);

}  // namespace vxdep
