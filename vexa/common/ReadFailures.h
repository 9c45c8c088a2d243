#pragma once

#include <cstdint>

namespace vexa {

// How often the calling thread could not read a file that is there: no permission, an error of the
// disk, too many open files. Unlike a file that is missing or of no use, such a one may be read the
// next time, though it does not change: who remembers what a file holds needs to know.
std::uint64_t ReadFailuresOfThisThread();

// Counts one, unless errno says that there is no such file.
void NoteReadFailure();

}  // namespace vexa
