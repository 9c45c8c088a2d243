#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vexa {

// Where an include is looked for: the directory of `file`, which is what stands before its last
// "\" (the whole path when it has none), "\" and the name.
std::string IncludePath(const std::string& file, const std::string& name);

// The paths of the includes in the text of `file`, in their order, whether they exist or not. Each
// is reported to the thread's observer.
std::vector<std::string> ReadIncludes(const std::string& file, std::string_view text);

}  // namespace vexa
