#include "vxdependency/generators/DependencyAnimationJSON.h"

#include "vxdependency/generators/AnimConfigFile.h"

namespace vexa {

void CDependencyAnimationJSON::UpdateAnimConfig(const std::string& resource,
                                                const std::string& animation) {
    EnterIntoAnimConfig(resource, animation);
}

bool CDependencyAnimationJSON::ClassFlag11() const {
    return false;
}

bool CDependencyAnimationJSON::ClassFlag13() const {
    return false;
}

}  // namespace vexa
