#pragma once

#include <string>

#include "vxdependency/generators/DependencyJSON.h"

namespace vexa {

// Serves animations written in JSON ("animation").
class CDependencyAnimationJSON : public CDependencyJSON {
public:
    using CDependencyJSON::CDependencyJSON;

    void UpdateAnimConfig(const std::string& resource, const std::string& animation) override;
    bool ClassFlag11() const override;
    bool ClassFlag13() const override;
};

}  // namespace vexa
