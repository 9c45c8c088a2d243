#pragma once

#include <cstdint>
#include <string>

#include "vexa/common/FileService.h"

// The run-time library's find-first and find-next under their own names, and what we need beyond
// them. On Windows the three functions are the library's; elsewhere FindFilesPosix.cpp. Searches
// may run on any threads; one handle is used by one thread at a time.
#if defined(_WIN32)
#include <io.h>
#else

struct _finddata64i32_t {
    unsigned attrib;           // as GetFileAttributesA, but 0 and not 128 for an ordinary file
    std::int64_t time_create;  // seconds since 1970-01-01 UTC; of the last change of state
    std::int64_t time_access;
    std::int64_t time_write;
    std::uint32_t size;  // the low 32 bits
    char name[260];
};

// Opens a search. `pattern` is a path, absolute or relative to the working directory, "/" or "\"
// between its segments, whose last component may hold "*" and "?"; "*" and "*.*" match every name,
// also one without a dot. A component without wildcards, or another one that exists as it is
// spelled, finds just that entry. Fills `data` with the first entry (times and size of what a link
// leads to; of the link itself when that is missing) and returns a handle for _findclose, or -1
// with errno set: ENOENT when nothing matches, EACCES when the directory cannot be read.
// The order is that of the directory; "." and ".." are among the entries. An entry that vanishes
// between listing and looking is passed over.
std::intptr_t _findfirst64i32(const char* pattern, _finddata64i32_t* data);
// 0, or -1 with errno: ENOENT at the end when every entry was delivered, otherwise what kept the
// first missing one from being looked at (the rest is delivered before that).
int _findnext64i32(std::intptr_t handle, _finddata64i32_t* data);
// Ends a search; 0, or -1 with errno EINVAL for the handle -1.
int _findclose(std::intptr_t handle);

#endif

namespace vexa::os {

// Nanoseconds and full size of the entry that the last call for this handle delivered; costs no
// further look at the disk where the platform's search already knows.
FileState StateOfFound(std::intptr_t handle);

// The same, with the time of last write in seconds since 1970-01-01 UTC, of the entry at a path
// whatever characters its name holds. False, with nothing changed, when there is none.
bool FindEntry(const std::string& path, std::int64_t& writeSeconds, FileState& state);

// What tells that entry from all others of its file system as long as it exists, under whatever
// name; 0 where the platform does not say.
std::uint64_t IdentityOfFound(std::intptr_t handle);

// Whether what walks a tree goes into an entry: the folder attribute stands alone (so that no ring
// of links can form), and the name holds no backslash.
bool IsDescended(unsigned attributes, const char* name);

}  // namespace vexa::os
