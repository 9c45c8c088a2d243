#pragma once

#include <string>
#include <vector>

namespace vxdep {

class Project;

// Opens the project, creates its generators, and finds the key that a path argument means: the
// reading that exists or that the store knows. Throws Failure, naming the file that may be meant.
// To be called before the working directory changes.
std::string OpenAndFind(const Project& project, const std::string& argument);

// Of the keys that a path argument may mean, the first that exists in the open project or that its
// store knows. Throws Failure as OpenAndFind does.
std::string ChooseKey(const std::string& argument, const std::vector<std::string>& keys);

// Of the open project, by key.
bool IsFolder(const std::string& key);
// A file or folder that is there, or a file that the store knows.
bool IsKnownFile(const std::string& key);

}  // namespace vxdep
