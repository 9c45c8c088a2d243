#include "vxdependency/generators/DependencyNfx.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/generators/ClosureWalk.h"
#include "vxdependency/generators/EffectReferences.h"
#include "vxdependency/generators/IncludeReference.h"
#include "vxdependency/generators/IncludeScan.h"

namespace vexa {

namespace {

FilePtr Read(const std::string& file) {
    return InterfaceBox::Instance().GetFileService().ReadFile(file);
}

}  // namespace

bool CDependencyNfx::GenerateDependency(const std::string& file, List& dependencies,
                                        List& secondList) {
    const FilePtr effect = Read(file);
    if (!effect) return false;
    const std::string_view text = effect->GetText();
    ClosureStart start;
    start.followed = ReadIncludes(file, text);
    std::ranges::move(ReadEffectReferences(file, text), std::back_inserter(start.followed));
    ClosureWalk::Run(file, std::move(start), dependencies, secondList);
    return true;
}

bool CDependencyNfx::RemoveReference(const std::string&, const std::string&) {
    return true;
}

bool CDependencyNfx::RenameReference(const std::string&, const std::string&, const std::string&) {
    return true;
}

const RuleData* CDependencyNfx::FindRuleEntry(const std::string&, const std::string&) {
    return nullptr;
}

CDependencyBase::List CDependencyNfx::GetImplicitBindingFiles(const std::string&) {
    return {"_gl.vs", "_gl.ps", "_metal.vs", "_metal.ps", ".vs", ".ps", ".hlsl", ".fx"};
}

CDependencyBase::List CDependencyNfx::GetIncludeNames(const std::string& file) {
    List names;
    const FilePtr effect = Read(file);
    if (!effect) return names;
    for (IncludeName& include : ScanIncludes(effect->GetText())) {
        names.push_back(std::move(include.name));
    }
    return names;
}

}  // namespace vexa
