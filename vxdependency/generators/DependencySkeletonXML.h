#pragma once

#include "vxdependency/generators/DependencyXML.h"

namespace vexa {

// Serves skeletons written in XML ("skeleton").
class CDependencySkeletonXML : public CDependencyXML {
public:
    using CDependencyXML::CDependencyXML;

    bool ClassFlag11() const override;
    bool ClassFlag12() const override;
    bool ClassFlag13() const override;
    bool ClassFlag14() const override;
};

}  // namespace vexa
