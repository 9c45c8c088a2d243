#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vxdep {

// Finds the files of the tree that have given names, in one pass over the store.
class FilesByName {
public:
    explicit FilesByName(const std::vector<std::string>& names);

    // The only file of this name, which must be one of those given; else the only one whose name
    // differs in the case of ASCII letters alone; else "".
    std::string Only(const std::string& name) const;

private:
    void Add(std::string_view file);

    std::unordered_map<std::string, std::vector<std::string>> m_files;  // by name in lower case
};

// The last component of a key.
std::string_view NameOfKey(std::string_view key);

}  // namespace vxdep
