#pragma once

#include <string>

namespace vexa {

class CDependencyBase;

// What the suffixes of the files bound to `path` are appended to. An effect's is the path up to the
// last "." of its name, since its companions are named after it in full; for all others it ends at
// the first one.
std::string BindingStem(const CDependencyBase& generator, const std::string& path);

}  // namespace vexa
