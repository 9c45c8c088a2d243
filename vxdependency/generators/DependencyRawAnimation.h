#pragma once

#include <string>

#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

// Serves raw animations ("rawanimation"), which name one resource by a path relative to their own
// folder. A file that is rewritten keeps all of its other bytes, and is replaced as a whole or not
// at all. Files that cannot be read or written make an operation false and are not logged.
class CDependencyRawAnimation : public CDependencyBase {
public:
    using CDependencyBase::CDependencyBase;

    // Appends the resource that the file names, which need not exist. Only what stands before the
    // animation's body is read.
    bool GenerateDependency(const std::string& file, List& dependencies, List& secondList) override;
    // Answers true and leaves the file alone: an animation without its resource is none.
    bool RemoveReference(const std::string& file, const std::string& reference) override;
    // Lets a file that names `oldPath` name `newPath`, relative to its folder, or follow another
    // rename under way. True when there was nothing to do.
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
    // To be called after the file was moved. Into another folder: lets the reference follow a
    // resource that is renamed as well. Otherwise leaves it alone if it names an existing file from
    // the new folder, too, and else rewrites it to name what it named from the old one.
    bool Rename(const std::string& oldPath, const std::string& newPath, bool flag) override;
    // The same as Rename.
    bool UpdateSelfReferences(const std::string& oldPath, const std::string& newPath) override;
    // Null: there are no rules.
    const RuleData* FindRuleEntry(const std::string& file, const std::string& name) override;
};

}  // namespace vexa
