#pragma once

#include <string>

#include "vxdependency/generators/DependencyXML.h"

namespace vexa {

// Serves animations written in XML ("animation").
class CDependencyAnimationXML : public CDependencyXML {
public:
    using CDependencyXML::CDependencyXML;

    void UpdateAnimConfig(const std::string& resource, const std::string& animation) override;
    bool ClassFlag11() const override;
    bool ClassFlag13() const override;
};

}  // namespace vexa
