#pragma once

#include <string>

#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

// Serves effects ("nfx", "spx"). An effect refers to what it includes, to the images in the
// annotations of its textures, to the shader sources of its passes with their variants for other
// platforms, and to everything that these lead to (see ClosureWalk).
class CDependencyNfx : public CDependencyBase {
public:
    using CDependencyBase::CDependencyBase;

    // Lists includes and images whether they exist or not, sources of passes only if they do. What
    // the effect language cannot make sense of is logged, and costs no other reference. False,
    // without a message, when the file cannot be read.
    bool GenerateDependency(const std::string& file, List& dependencies, List& secondList) override;
    // Both answer true and leave the file alone.
    bool RemoveReference(const std::string& file, const std::string& reference) override;
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
    // To be called after the file was moved: moves the files bound to it, and what it includes by
    // the same way from its folder. An include that cannot be moved is logged. Answers true.
    bool Rename(const std::string& oldPath, const std::string& newPath, bool flag) override;
    // Null: no rule governs an effect.
    const RuleData* FindRuleEntry(const std::string& file, const std::string& name) override;
    // The suffixes of the sources that lie beside an effect; they follow its BindingStem.
    List GetImplicitBindingFiles(const std::string& file) override;

    // 18: the names that the file includes, as ScanIncludes yields them; none when it cannot be
    // read.
    virtual List GetIncludeNames(const std::string& file);
};

}  // namespace vexa
