#include "vxdependency/generators/DependencyScn.h"

namespace vexa {

bool CDependencyScn::RenameReference(const std::string& file, const std::string& oldPath,
                                     const std::string& newPath) {
    CDependencyXML::RenameReference(file, oldPath, newPath);
    return true;
}

}  // namespace vexa
