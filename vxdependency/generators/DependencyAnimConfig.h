#pragma once

#include "vxdependency/generators/DependencyXML.h"

namespace vexa {

// Serves animation configurations ("animconfig").
class CDependencyAnimConfig : public CDependencyXML {
public:
    using CDependencyXML::CDependencyXML;

    bool ClassFlag11() const override;
    bool ClassFlag12() const override;
    bool ClassFlag13() const override;
    bool ClassFlag14() const override;
};

}  // namespace vexa
