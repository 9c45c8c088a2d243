#include "vxdependency/generators/DependencyAnimConfig.h"

namespace vexa {

bool CDependencyAnimConfig::ClassFlag11() const {
    return true;
}

bool CDependencyAnimConfig::ClassFlag12() const {
    return true;
}

bool CDependencyAnimConfig::ClassFlag13() const {
    return true;
}

bool CDependencyAnimConfig::ClassFlag14() const {
    return true;
}

}  // namespace vexa
