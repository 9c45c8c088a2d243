#include "vxdependency/generators/DependencyShader.h"

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/generators/IncludeReference.h"

namespace vexa {

bool CDependencyShader::GenerateDependency(const std::string& file, List& dependencies, List&) {
    IFileService& files = InterfaceBox::Instance().GetFileService();
    const FilePtr source = files.ReadFile(file);
    if (!source) return false;
    for (std::string& path : ReadIncludes(file, source->GetText())) {
        if (files.FileExists(path)) dependencies.push_back(std::move(path));
    }
    return true;
}

bool CDependencyShader::RemoveReference(const std::string&, const std::string&) {
    return true;
}

bool CDependencyShader::RenameReference(const std::string&, const std::string&,
                                        const std::string&) {
    return true;
}

const RuleData* CDependencyShader::FindRuleEntry(const std::string&, const std::string&) {
    return nullptr;
}

}  // namespace vexa
