#include <dlfcn.h>

#include <filesystem>

#include "vexa/os/ModulePath.h"

namespace vexa::os {

std::string ModulePath() {
    Dl_info module;
    const bool known = ::dladdr(reinterpret_cast<void*>(&ModulePath), &module) != 0;
    // Of the program itself the loader knows the name that it was called by, and of a library that
    // was loaded by a relative path that path: neither leads anywhere once the working directory
    // has changed. The program's own file is the next best place to start from.
    const bool absolute = known && module.dli_fname != nullptr && *module.dli_fname == '/';
    std::error_code missing;
    return std::filesystem::canonical(absolute ? module.dli_fname : "/proc/self/exe", missing)
        .string();
}

}  // namespace vexa::os
