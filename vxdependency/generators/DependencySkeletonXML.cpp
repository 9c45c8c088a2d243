#include "vxdependency/generators/DependencySkeletonXML.h"

namespace vexa {

bool CDependencySkeletonXML::ClassFlag11() const {
    return true;
}

bool CDependencySkeletonXML::ClassFlag12() const {
    return true;
}

bool CDependencySkeletonXML::ClassFlag13() const {
    return true;
}

bool CDependencySkeletonXML::ClassFlag14() const {
    return true;
}

}  // namespace vexa
