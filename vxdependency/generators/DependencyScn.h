#pragma once

#include <string>

#include "vxdependency/generators/DependencyXML.h"

namespace vexa {

// Serves scenes ("scn").
class CDependencyScn : public CDependencyXML {
public:
    using CDependencyXML::CDependencyXML;

    // As the base does, but answers true, whatever happens.
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
};

}  // namespace vexa
