#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace vexa::test {

// A directory of its own under the system's temporary directory (or `parent`), for the life of the
// object; it is removed with all that is in it. Path() is absolute, without links and without a
// separator at its end. Each operation throws when it fails, so that a fixture never tests on half
// a tree.
class TempDir {
public:
    explicit TempDir(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::string pattern = (std::filesystem::canonical(parent) / "vx-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::system_error(errno, std::generic_category(), pattern);
        m_path = pattern;
    }
    ~TempDir() { Remove(); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return m_path; }

    // The absolute path of something in the directory.
    std::string Path(std::string_view relative) const {
        return m_path + "/" + std::string(relative);
    }

    // Writes a file, replacing it, and makes its parents. Returns its absolute path.
    std::string Write(std::string_view relative, std::string_view content) const {
        const std::string path = Path(relative);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(content.data(), static_cast<std::streamsize>(content.size())).flush();
        if (!file) throw std::runtime_error("cannot write " + path);
        return path;
    }

    // Makes a directory and its parents. Returns its absolute path.
    std::string MakeDir(std::string_view relative) const {
        const std::string path = Path(relative);
        std::filesystem::create_directories(path);
        return path;
    }

    // The contents of a file.
    std::string Read(std::string_view relative) const {
        const std::string path = Path(relative);
        std::ifstream file(path, std::ios::binary);
        if (!file) throw std::runtime_error("cannot read " + path);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    // Whether a file, directory or link is there.
    bool Exists(std::string_view relative) const {
        return std::filesystem::exists(std::filesystem::symlink_status(Path(relative)));
    }

    // Removes the directory early; what is left is ignored, since this also runs in the destructor.
    void Remove() noexcept {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

private:
    std::string m_path;
};

}  // namespace vexa::test
