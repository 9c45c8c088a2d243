#pragma once

#include "vxdependency/generators/DependencyJSON.h"

namespace vexa {

// Serves skeletons written in JSON ("skeleton").
class CDependencySkeletonJSON : public CDependencyJSON {
public:
    using CDependencyJSON::CDependencyJSON;

    bool ClassFlag11() const override;
    bool ClassFlag12() const override;
    bool ClassFlag13() const override;
    bool ClassFlag14() const override;
};

}  // namespace vexa
