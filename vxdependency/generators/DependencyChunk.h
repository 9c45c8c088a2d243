#pragma once

#include <string>

#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

namespace terrain {
class ChunkData;
}

// Serves terrain chunks ("chunk"), which name a surface and textures by paths from the resource
// root. Chunks are never rewritten.
class CDependencyChunk : public CDependencyBase {
public:
    using CDependencyBase::CDependencyBase;

    // Appends the surface and the textures as they stand there; they need not exist. False when the
    // file cannot be read or is no chunk.
    bool GenerateDependency(const std::string& file, List& dependencies, List& secondList) override;
    // Both answer true and leave the file alone.
    bool RemoveReference(const std::string& file, const std::string& reference) override;
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
    // Null: there are no rules.
    const RuleData* FindRuleEntry(const std::string& file, const std::string& name) override;

private:
    void AppendSurface(const std::string& file, const terrain::ChunkData& chunk, List& dependencies,
                       List& secondList);
};

}  // namespace vexa
