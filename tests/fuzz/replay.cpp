// Runs a fuzz target on files that are there: seeds, examples, and inputs that once broke it.
// Arguments are files, and directories that are searched for files.

#include <exception>
#include <filesystem>
#include <memory>
#include <vector>

#include "tests/fuzz/Fuzz.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesIn(const fs::path& path) {
    if (!fs::is_directory(path)) return {fs::absolute(path)};
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) files.push_back(fs::absolute(entry.path()));
    }
    return files;
}

void Replay(const fs::path& path) {
    std::fprintf(stderr, "%s\n", path.c_str());
    // Of exactly the file's size, so that a sanitizer sees what is read beyond.
    const auto size = static_cast<std::size_t>(fs::file_size(path));
    const auto bytes = std::make_unique<char[]>(size);
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.get(), static_cast<std::streamsize>(size));
    vexa::fuzz::Require(file.good(), "the file can be read");
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.get()), size);
}

}  // namespace

int main(int count, char** arguments) {
    try {
        std::vector<fs::path> files;  // all found first: a target may change the directory
        for (int i = 1; i < count; ++i) {
            const std::vector<fs::path> found = FilesIn(arguments[i]);
            files.insert(files.end(), found.begin(), found.end());
        }
        vexa::fuzz::Require(!files.empty(), "there is something to replay");
        for (const fs::path& path : files) Replay(path);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
