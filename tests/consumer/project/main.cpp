// Opens a project and asks what a file refers to: consumer PROJECT FILE EXPECTED.

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "vexa/common/Log.h"
#include "vxdependency/manager/DependencyManager.h"

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    // The project is the working directory at the first call.
    std::filesystem::current_path(argv[1]);
    vexa::CDependencyManager& manager = vexa::CDependencyManager::GetSingleton();
    if (!manager.GetScanner()) {
        vexa::LogError("%s cannot be opened: %s", argv[1], manager.GetStartError().c_str());
        return 1;
    }
    const auto dependencies = manager.GetDependency(argv[2], false);
    for (const std::string& path : dependencies) std::puts(path.c_str());
    return std::find(dependencies.begin(), dependencies.end(), argv[3]) == dependencies.end();
}
