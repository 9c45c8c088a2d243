#pragma once

#include <memory>
#include <string>

#include "vexa/Export.h"

namespace vexa::vxio {

// Knows where the engine's packages of data lie. A singleton that is never destroyed; may be called
// from any thread.
class VX_API PackageManager {
public:
    static PackageManager& Instance();

    // Says where a package lies: an absolute directory; separators at its end are dropped. It wins
    // over every other place; an empty text takes back what was said.
    void SetPackagePath(const std::string& name, const std::string& directory);

    // The directory of a package, without a separator at its end; "" for an unknown one. The
    // package "builtin" has a place without being set: R/builtin where that is a directory (R is
    // the project root), else the one that came with the library (share/vxdependency/builtin under
    // the prefix where it is installed, or the source tree in which it was built), else the one
    // that the environment variable VXDEPENDENCY_BUILTIN names.
    std::string GetPackagePath(const std::string& name) const;

private:
    PackageManager();
    struct State;
    State* m_state;
};

}  // namespace vexa::vxio
