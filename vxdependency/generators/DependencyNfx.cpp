#include "vxdependency/generators/DependencyNfx.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdependency/generators/BindingMoves.h"
#include "vxdependency/generators/ClosureWalk.h"
#include "vxdependency/generators/EffectReferences.h"
#include "vxdependency/generators/IncludeReference.h"
#include "vxdependency/generators/IncludeScan.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

FilePtr Read(const std::string& file) {
    return InterfaceBox::Instance().GetFileService().ReadFile(file);
}

// Includes are looked for by the last "\" of the path.
std::string InGeneratorForm(const std::string& path) {
    std::string key;
    const bool inside = InterfaceBox::Instance().GetFileService().MakeRelative(path, key);
    return inside ? GeneratorForm(key) : path;
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

bool CDependencyNfx::Rename(const std::string& oldPath, const std::string& newPath, bool) {
    CDependencyManager& manager = *CDependencyManager::GetSingletonPtr();
    for (const FileMove& move : BindingMoves(*this, oldPath, newPath)) {
        if (IsDue(move)) manager.RawRename(move.from, move.to);  // most effects lack most of them
    }
    const std::string from = InGeneratorForm(oldPath);
    const std::string to = InGeneratorForm(newPath);
    List names = GetIncludeNames(newPath);
    manager.MakeVectorUnique(names);
    for (const std::string& name : names) {
        const FileMove move{IncludePath(from, name), IncludePath(to, name)};
        if (!IsDue(move) || manager.RawRename(move.from, move.to)) continue;
        LogWarning("Move File from %s to %s failed!", move.from.c_str(), move.to.c_str());
    }
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
