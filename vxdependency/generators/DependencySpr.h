#pragma once

#include <string>

#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

// Serves sprites ("spr"): text files whose fourth line names an image, up to the first blank. Runs
// of line breaks count as one. Sprites are never rewritten.
class CDependencySpr : public CDependencyBase {
public:
    using CDependencyBase::CDependencyBase;

    // Appends the image's path as it stands there; it need not exist. False when the file cannot be
    // read, or ends with its fourth line.
    bool GenerateDependency(const std::string& file, List& dependencies, List& secondList) override;
    // Both answer true and leave the file alone.
    bool RemoveReference(const std::string& file, const std::string& reference) override;
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
    // Null: there are no rules.
    const RuleData* FindRuleEntry(const std::string& file, const std::string& name) override;
};

}  // namespace vexa
