#include <dirent.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

#include "vexa/os/FindFiles.h"
#include "vexa/os/PosixFile.h"

// A scan looks at a million entries: each costs one look, relative to the open directory, and a
// second one only when it is a link.

namespace {

using namespace vexa::os;

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

struct Search {
    std::unique_ptr<DIR, DirectoryCloser> directory;  // null for a search of one entry
    std::string pattern;                              // of the last component; empty matches all
    int failure = ENOENT;                             // what the end of the search reports
    vexa::FileState found;
    std::uint64_t identity = 0;  // of what was found
};

bool HasWildcards(std::string_view name) {
    return name.find_first_of("*?") != std::string_view::npos;
}

bool MatchesAll(std::string_view name) {
    return name == "*" || name == "*.*";
}

// "?" stands for one byte, "*" for any number. On a mismatch the last "*" takes one byte more,
// which is enough: earlier ones never need to.
bool Matches(std::string_view name, std::string_view pattern) {
    std::size_t at = 0;
    std::size_t in = 0;
    std::size_t star = std::string_view::npos;
    std::size_t taken = 0;
    while (at < name.size()) {
        if (in < pattern.size() && pattern[in] == '*') {
            star = in++;
            taken = at;
        } else if (in < pattern.size() && (pattern[in] == '?' || pattern[in] == name[at])) {
            ++in;
            ++at;
        } else if (star != std::string_view::npos) {
            in = star + 1;
            at = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', in) == std::string_view::npos;
}

void Fill(const struct stat& entry, DWORD attributes, const char* name, Search& search,
          _finddata64i32_t& data) {
    search.found = StateOf(entry);
    search.identity = entry.st_ino;
    data.attrib = attributes;
    data.time_create = entry.st_ctim.tv_sec;
    data.time_access = entry.st_atim.tv_sec;
    data.time_write = entry.st_mtim.tv_sec;
    data.size = static_cast<std::uint32_t>(entry.st_size);
    std::memcpy(data.name, name, std::strlen(name) + 1);  // Deliver has seen that it fits
}

// Looks at `path`, an entry of `directory`, and delivers it as `name`. False with errno.
bool Deliver(int directory, const char* path, const char* name, Search& search,
             _finddata64i32_t& data) {
    struct stat entry;
    DWORD attributes = 0;
    if (std::strlen(name) >= sizeof data.name) {
        errno = ENAMETOOLONG;
        return false;
    }
    if (!Look(directory, path, entry, attributes)) return false;
    Fill(entry, attributes, name, search, data);
    return true;
}

Search* SearchOf(std::intptr_t handle) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): handles are integers in this interface.
    return reinterpret_cast<Search*>(handle);
}

// Remembers the first reason for which an entry is missing from what is delivered.
void NoteFailure(Search& search, int error) {
    if (search.failure == ENOENT) search.failure = error;
}

bool Next(Search& search, _finddata64i32_t& data) {
    while (search.directory) {
        errno = 0;
        const dirent* entry = ::readdir(search.directory.get());
        if (entry == nullptr) {
            if (errno != 0) NoteFailure(search, errno);
            break;
        }
        if (!search.pattern.empty() && !Matches(entry->d_name, search.pattern)) continue;
        const int directory = ::dirfd(search.directory.get());
        if (Deliver(directory, entry->d_name, entry->d_name, search, data)) return true;
        NoteFailure(search, errno);
    }
    errno = search.failure;
    return false;
}

bool OpenDirectory(const std::string& path, Search& search) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!file.IsOpen()) return false;
    search.directory.reset(::fdopendir(file.Number()));
    if (!search.directory) return false;
    file.Detach();
    return true;
}

// Finds the first entry for a path whose last component starts at `nameStart`.
bool Begin(const std::string& path, std::size_t nameStart, Search& search, _finddata64i32_t& data) {
    const std::string name = path.substr(nameStart);
    if (name.empty()) {
        errno = ENOENT;
        return false;
    }
    const bool all = MatchesAll(name);
    if (!all && Deliver(AT_FDCWD, path.c_str(), name.c_str(), search, data)) return true;
    if (!HasWildcards(name)) return false;

    search.pattern = all ? "" : name;
    return OpenDirectory(nameStart == 0 ? "." : path.substr(0, nameStart), search) &&
           Next(search, data);
}

}  // namespace

std::intptr_t _findfirst64i32(const char* pattern, _finddata64i32_t* data) {
    const std::string path = NativePath(pattern);
    const std::size_t slash = path.rfind('/');
    auto search = std::make_unique<Search>();
    if (Begin(path, slash == std::string::npos ? 0 : slash + 1, *search, *data))
        return reinterpret_cast<std::intptr_t>(search.release());
    if (errno == ENOTDIR) errno = ENOENT;
    return -1;
}

int _findnext64i32(std::intptr_t handle, _finddata64i32_t* data) {
    return Next(*SearchOf(handle), *data) ? 0 : -1;
}

int _findclose(std::intptr_t handle) {
    if (handle == -1) {
        errno = EINVAL;
        return -1;
    }
    delete SearchOf(handle);
    return 0;
}

namespace vexa::os {

FileState StateOfFound(std::intptr_t handle) {
    return SearchOf(handle)->found;
}

bool FindEntry(const std::string& path, std::int64_t& writeSeconds, FileState& state) {
    struct stat entry;
    DWORD attributes = 0;
    const bool native = path.find('\\') == std::string::npos;
    if (!Look(AT_FDCWD, native ? path.c_str() : NativePath(path.c_str()).c_str(), entry,
              attributes))
        return false;
    writeSeconds = entry.st_mtim.tv_sec;
    state = StateOf(entry);
    return true;
}

std::uint64_t IdentityOfFound(std::intptr_t handle) {
    return SearchOf(handle)->identity;
}

bool IsDescended(unsigned attributes, const char* name) {
    return attributes == FILE_ATTRIBUTE_DIRECTORY && std::strchr(name, '\\') == nullptr;
}

}  // namespace vexa::os
