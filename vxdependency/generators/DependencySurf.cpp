#include "vxdependency/generators/DependencySurf.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/io/Path.h"
#include "vxdependency/generators/BindingMoves.h"
#include "vxdependency/generators/ClosureWalk.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

bool NamesShader(const std::string& reference) {
    return reference.find(".hlsl") != std::string::npos;
}

}  // namespace

bool CDependencySurf::GenerateDependency(const std::string& file, List& dependencies,
                                         List& secondList) {
    ClosureStart start;
    if (!CDependencyXML::GenerateDependency(file, start.listed, secondList)) return false;
    std::ranges::copy_if(start.listed, std::back_inserter(start.followed), NamesShader);
    start.unique = true;
    ClosureWalk::Run(file, std::move(start), dependencies, secondList);
    CDependencyManager::GetSingletonPtr()->MakeVectorUnique(dependencies);
    return true;
}

bool CDependencySurf::RenameReference(const std::string& file, const std::string& oldPath,
                                      const std::string& newPath) {
    CDependencyXML::RenameReference(file, oldPath, newPath);
    return true;
}

bool CDependencySurf::Rename(const std::string& oldPath, const std::string& newPath, bool) {
    CDependencyManager& manager = *CDependencyManager::GetSingletonPtr();
    for (const std::string& reference : manager.GetDependency(newPath, false)) {
        if (!NamesShader(reference)) continue;
        const std::string name = vxio::GetFileName(reference);
        const FileMove move{vxio::GetDirName(oldPath) + name, vxio::GetDirName(newPath) + name};
        if (IsUnderWay(move.from)) continue;
        if (!InterfaceBox::Instance().GetFileService().FileExists(move.from)) {
            LogWarning("Copy hlsl file,hlsl file not found!:%s", move.from.c_str());
        } else if (IsDue(move)) {
            manager.RawRename(move.from, move.to);
        }
    }
    return true;
}

}  // namespace vexa
