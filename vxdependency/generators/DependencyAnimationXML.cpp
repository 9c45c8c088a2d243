#include "vxdependency/generators/DependencyAnimationXML.h"

#include "vxdependency/generators/AnimConfigFile.h"

namespace vexa {

void CDependencyAnimationXML::UpdateAnimConfig(const std::string& resource,
                                               const std::string& animation) {
    EnterIntoAnimConfig(resource, animation);
}

bool CDependencyAnimationXML::ClassFlag11() const {
    return false;
}

bool CDependencyAnimationXML::ClassFlag13() const {
    return false;
}

}  // namespace vexa
