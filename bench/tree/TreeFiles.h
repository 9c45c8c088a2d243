#pragma once

#include <string>
#include <string_view>

namespace bench {

// Writes many files, folder after folder. What cannot be written ends the program with a message.
class TreeFiles {
public:
    explicit TreeFiles(std::string root) : m_root(std::move(root)) {}
    ~TreeFiles();
    TreeFiles(const TreeFiles&) = delete;
    TreeFiles& operator=(const TreeFiles&) = delete;

    // A new file at a path below the root; its folder is made when need be.
    void Write(const std::string& path, std::string_view bytes);

private:
    void Enter(const std::string& folder);

    std::string m_root;
    std::string m_folder;  // that is open
    int m_handle = -1;
};

}  // namespace bench
