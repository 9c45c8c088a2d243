#include "vexa/io/PackageManager.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/PathText.h"
#include "vexa/os/ModulePath.h"

namespace vexa::vxio {

namespace {

namespace fs = std::filesystem;

bool IsDirectory(const fs::path& path) {
    std::error_code missing;
    return fs::is_directory(path, missing);
}

// The built-in package that came with this library, from an installed prefix or a source tree.
std::string FindShippedBuiltin() {
    const fs::path module = os::ModulePath();
    for (fs::path above = module.parent_path(); above.has_relative_path();
         above = above.parent_path()) {
        for (const fs::path& package : {above / "share/vxdependency/builtin", above / "builtin"})
            if (IsDirectory(package / "res/builtin/dependency_config"))
                return package.generic_string();
    }
    return {};
}

std::string WithoutEndSeparators(const std::string& directory) {
    return directory.substr(0, directory.find_last_not_of(Separators) + 1);
}

std::string FindBuiltin() {
    std::string own = InterfaceBox::Instance().GetProjectRoot() + "/builtin";
    if (IsDirectory(own)) return own;

    static const std::string shipped = FindShippedBuiltin();
    if (!shipped.empty()) return shipped;

    const char* named = std::getenv("VXDEPENDENCY_BUILTIN");
    return named == nullptr ? "" : WithoutEndSeparators(named);
}

}  // namespace

struct PackageManager::State {
    std::mutex mutex;
    std::map<std::string, std::string> directories;  // guarded by mutex
};

PackageManager::PackageManager() : m_state(new State) {}

PackageManager& PackageManager::Instance() {
    static PackageManager* const manager = new PackageManager;
    return *manager;
}

void PackageManager::SetPackagePath(const std::string& name, const std::string& directory) {
    const std::lock_guard lock(m_state->mutex);
    m_state->directories[name] = WithoutEndSeparators(directory);
}

std::string PackageManager::GetPackagePath(const std::string& name) const {
    {
        const std::lock_guard lock(m_state->mutex);
        const auto known = m_state->directories.find(name);
        if (known != m_state->directories.end() && !known->second.empty()) return known->second;
    }
    return name == "builtin" ? FindBuiltin() : "";
}

}  // namespace vexa::vxio
