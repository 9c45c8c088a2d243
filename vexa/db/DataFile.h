#pragma once

#include <string>

namespace vexa {

// What is wrong with an LMDB data file, as far as can be told before it is mapped; "" when nothing
// is, or when there is no file. LMDB looks only at the two meta pages, so a file that has lost its
// end would open and later kill the process with a bus error.
//
// While another process writes, the answer may be a false alarm: whoever acts on it asks again with
// writers locked out.
std::string FindDamage(const std::string& path);

}  // namespace vexa
