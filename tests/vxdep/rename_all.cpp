// Renames files and folders of the project in the working directory, in one process: old and new
// paths on standard input, each on a line. Prints the old paths of those that were not renamed.

#include <cstdlib>
#include <iostream>
#include <string>

#include "vxdependency/manager/DependencyManager.h"

int main() {
    vexa::CDependencyManager& manager = vexa::CDependencyManager::GetSingleton();
    std::string source;
    std::string destination;
    while (std::getline(std::cin, source) && std::getline(std::cin, destination)) {
        if (!manager.SyncRename(source, destination)) std::cout << source << '\n';
    }
    return EXIT_SUCCESS;
}
