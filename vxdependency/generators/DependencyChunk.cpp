#include "vxdependency/generators/DependencyChunk.h"

#include <fmt/format.h>

#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/terrain/ChunkData.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

template <class Describe>
void Append(const std::string& file, std::string path, const Describe& describe,
            CDependencyBase::List& dependencies) {
    ReportPaths(file, path, {&path, 1}, ReferenceSite(describe));
    dependencies.push_back(std::move(path));
}

void AppendTextures(const std::string& file, const terrain::ChunkData& chunk,
                    CDependencyBase::List& dependencies) {
    std::size_t index = 0;
    for (const terrain::ITexture* const texture : chunk.GetAllTexture()) {
        const std::size_t number = index++;
        if (!texture) continue;
        const auto describe = [&] {
            return ReferencePlace{texture->GetNameOffset(), 0, fmt::format("texture {}", number)};
        };
        Append(file, texture->GetFileName(), describe, dependencies);
    }
}

}  // namespace

bool CDependencyChunk::GenerateDependency(const std::string& file, List& dependencies,
                                          List& secondList) {
    terrain::ChunkData chunk(0, 0);
    {
        const FilePtr contents = InterfaceBox::Instance().GetFileService().ReadFile(file);
        if (!contents) return false;
        if (!chunk.ReadDirectly(*contents)) {
            Log(1, "%s: %s", file.c_str(), chunk.GetError().c_str());
            return false;
        }
    }
    AppendSurface(file, chunk, dependencies, secondList);
    AppendTextures(file, chunk, dependencies);
    return true;
}

void CDependencyChunk::AppendSurface(const std::string& file, const terrain::ChunkData& chunk,
                                     List& dependencies, List& secondList) {
    const std::string name = chunk.GetSurfaceName();
    if (name.size() <= 4 || name.find(".surf") == std::string::npos) return;
    CDependencyBase* const surfaces =
        CDependencyManager::GetSingletonPtr()->GetDependencyGenerator(name);
    if (!surfaces) return;
    // A surface may be held by the chunk itself, so its generator looks into this file. With a name
    // like "a.surf.chunk" that would be this generator, over and over.
    if (surfaces != this) surfaces->GenerateDependency(file, dependencies, secondList);
    const auto describe = [] {
        return ReferencePlace{terrain::ChunkData::kSurfaceNameOffset, 0, "surface"};
    };
    Append(file, name, describe, dependencies);
}

bool CDependencyChunk::RemoveReference(const std::string&, const std::string&) {
    return true;
}

bool CDependencyChunk::RenameReference(const std::string&, const std::string&, const std::string&) {
    return true;
}

const RuleData* CDependencyChunk::FindRuleEntry(const std::string&, const std::string&) {
    return nullptr;
}

}  // namespace vexa
