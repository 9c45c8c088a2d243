#include "vxdependency/generators/DependencyAnimationXML.h"

namespace vexa {

bool CDependencyAnimationXML::ClassFlag11() const {
    return false;
}

bool CDependencyAnimationXML::ClassFlag13() const {
    return false;
}

}  // namespace vexa
