#pragma once

#include <string>

#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

// Serves shader sources ("vs", "ps", "hlsl"): lists the files that they include directly and that
// exist. Sources are never rewritten.
class CDependencyShader : public CDependencyBase {
public:
    using CDependencyBase::CDependencyBase;

    // Lists the includes in their order and as often as they are written, as IncludePath joins
    // them. Logs nothing.
    bool GenerateDependency(const std::string& file, List& dependencies, List& secondList) override;
    // Both answer true and leave the file alone.
    bool RemoveReference(const std::string& file, const std::string& reference) override;
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
    // Null: no rule governs an include.
    const RuleData* FindRuleEntry(const std::string& file, const std::string& name) override;
};

}  // namespace vexa
