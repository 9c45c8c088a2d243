#include "vxdependency/generators/DependencySurf.h"

namespace vexa {

bool CDependencySurf::RenameReference(const std::string& file, const std::string& oldPath,
                                      const std::string& newPath) {
    CDependencyXML::RenameReference(file, oldPath, newPath);
    return true;
}

}  // namespace vexa
