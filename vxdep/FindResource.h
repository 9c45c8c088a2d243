#pragma once

#include <string>

namespace vxdep {

class Project;

// Opens the project, creates its generators, and finds the key that a path argument means: the
// reading that exists or that the store knows. Throws Failure, naming the file that may be meant.
// To be called before the working directory changes.
std::string OpenAndFind(const Project& project, const std::string& argument);

// Of the open project, by key.
bool IsFolder(const std::string& key);
// A file or folder that is there, or a file that the store knows.
bool IsKnownFile(const std::string& key);

}  // namespace vxdep
