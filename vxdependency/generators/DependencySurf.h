#pragma once

#include <string>

#include "vxdependency/generators/DependencyXML.h"

namespace vexa {

// Serves surfaces ("surf"). Shader sources that a surface refers to are followed, so that what they
// include is listed with the surface.
class CDependencySurf : public CDependencyXML {
public:
    using CDependencyXML::CDependencyXML;

    // What the rules find, then what is reached through references that hold ".hlsl", each once.
    bool GenerateDependency(const std::string& file, List& dependencies, List& secondList) override;
    // As the base does, but answers true, whatever happens.
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
    // Moves the shader sources that the surface refers to and that lie beside it, and nothing else:
    // the surface keeps its own references. Goes by what is recorded under the new path.
    bool Rename(const std::string& oldPath, const std::string& newPath, bool flag) override;
};

}  // namespace vexa
