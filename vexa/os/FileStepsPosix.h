#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <string>

// Steps that moving, copying and saving have in common. Those that can fail leave their reason in
// errno.
namespace vexa::os {

// Removes a file on the way out of a failure, whose errno it keeps.
void Discard(const char* path);

// The directory of a path with its separator; "." for a bare name.
std::string DirectoryOf(const std::string& path);

// Makes a rename in the directory survive a power cut.
bool SyncDirectory(const std::string& directory);

// Gives a new file the permissions of an old one, and its owner where we may.
bool TakeOver(const struct stat& old, int file);

bool WriteAll(int file, const char* bytes, std::size_t size);

// What a new file has to replace so that a link at `path` stays a link; the path itself when
// nothing is there.
std::string ThroughLinks(const std::string& path);

}  // namespace vexa::os
