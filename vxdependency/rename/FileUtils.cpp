#include "vxdependency/rename/FileUtils.h"

#include <boost/filesystem/operations.hpp>
#include <iostream>

namespace vexa {

namespace fs = boost::filesystem;

namespace {

bool IsDirectory(const fs::path& path) {
    boost::system::error_code failure;
    return fs::status(path, failure).type() == fs::directory_file;
}

bool IsThere(const fs::path& path) {
    boost::system::error_code failure;
    return fs::exists(fs::status(path, failure));
}

bool MakeDirectory(const fs::path& path) {
    boost::system::error_code failure;
    return fs::create_directory(path, failure);
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value, as the editor declares it.
bool FileUtils::CopyDir(const fs::path& source, const fs::path& destination, OnFile onFile) {
    if (!IsDirectory(source)) {
        std::cerr << "Source directory " << source.string()
                  << " does not exist or is not a directory.\n";
        return false;
    }
    if (!IsThere(destination) && !MakeDirectory(destination)) {
        std::cerr << "Unable to create destination directory" << destination.string() << '\n';
        return false;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(source)) {
        const fs::path target = destination / entry.path().filename();
        if (IsDirectory(entry.path())) {
            if (!CopyDir(entry.path(), target, onFile)) return false;
        } else if (onFile) {
            onFile(entry.path().string(), target);
        } else {
            fs::copy_file(entry.path(), target);
        }
    }
    return true;
}

}  // namespace vexa
