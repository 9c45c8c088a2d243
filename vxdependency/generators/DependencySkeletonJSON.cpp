#include "vxdependency/generators/DependencySkeletonJSON.h"

namespace vexa {

bool CDependencySkeletonJSON::ClassFlag11() const {
    return true;
}

bool CDependencySkeletonJSON::ClassFlag12() const {
    return true;
}

bool CDependencySkeletonJSON::ClassFlag13() const {
    return true;
}

bool CDependencySkeletonJSON::ClassFlag14() const {
    return true;
}

}  // namespace vexa
