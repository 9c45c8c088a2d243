#include "vxdependency/generators/DependencySurf.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

}  // namespace vexa
