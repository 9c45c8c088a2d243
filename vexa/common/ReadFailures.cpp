#include "vexa/common/ReadFailures.h"

#include <cerrno>

namespace vexa {

namespace {

thread_local std::uint64_t t_failures = 0;

}  // namespace

std::uint64_t ReadFailuresOfThisThread() {
    return t_failures;
}

void NoteReadFailure() {
    // Directories and special files are none that could be read.
    const bool nothing = errno == ENOENT || errno == ENOTDIR || errno == EISDIR ||
                         errno == EINVAL || errno == ENAMETOOLONG || errno == ELOOP;
    if (!nothing) ++t_failures;
}

}  // namespace vexa
