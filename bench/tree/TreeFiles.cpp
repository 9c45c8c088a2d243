#include "bench/tree/TreeFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace bench {

namespace {

[[noreturn]] void Fail(const std::string& path) {
    std::perror(path.c_str());
    std::exit(1);
}

}  // namespace

TreeFiles::~TreeFiles() {
    if (m_handle >= 0) close(m_handle);
}

void TreeFiles::Enter(const std::string& folder) {
    if (m_handle >= 0 && folder == m_folder) return;
    if (m_handle >= 0) close(m_handle);
    const std::string path = m_root + '/' + folder;
    std::error_code error;
    std::filesystem::create_directories(path, error);
    m_handle = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_handle < 0) Fail(path);
    m_folder = folder;
}

void TreeFiles::Write(const std::string& path, std::string_view bytes) {
    const std::size_t slash = path.rfind('/');
    Enter(path.substr(0, slash));
    const int file =
        openat(m_handle, path.c_str() + slash + 1, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (file < 0) Fail(path);
    const ssize_t written = write(file, bytes.data(), bytes.size());
    if (close(file) != 0 || written != static_cast<ssize_t>(bytes.size())) Fail(path);
}

}  // namespace bench
