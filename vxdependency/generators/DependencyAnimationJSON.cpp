#include "vxdependency/generators/DependencyAnimationJSON.h"

namespace vexa {

bool CDependencyAnimationJSON::ClassFlag11() const {
    return false;
}

bool CDependencyAnimationJSON::ClassFlag13() const {
    return false;
}

}  // namespace vexa
