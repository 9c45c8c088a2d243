#include "vxdependency/generators/DependencyBase.h"

#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

CDependencyBase::CDependencyBase(std::string extension) : m_extension(std::move(extension)) {
    CDependencyManager::GetSingletonPtr()->RegisterDependencyGenerator(this);
}

CDependencyBase::~CDependencyBase() = default;

bool CDependencyBase::RenameReferenceInData(vxio::JsonData&, const std::string&,
                                            const std::string&) {
    return true;
}

bool CDependencyBase::Rename(const std::string&, const std::string&, bool) {
    return true;
}

bool CDependencyBase::MoveCompanionFiles(const std::string&, const std::string&) {
    return true;
}

bool CDependencyBase::CopyResourceFile(const std::string& from, const std::string& to) {
    if (InterfaceBox::Instance().GetFileService().Copy(from, to) == 0) return true;
    LogWarning("[Dependency]Copy File from %s to %s failed!", from.c_str(), to.c_str());
    return false;
}

bool CDependencyBase::MoveBindingFiles(const std::string&, const std::string&, bool) {
    return true;
}

bool CDependencyBase::UpdateSelfReferences(const std::string&, const std::string&) {
    return true;
}

void CDependencyBase::UpdateAnimConfig(const std::string&, const std::string&) {}

bool CDependencyBase::ClassFlag11() const {
    return false;
}

bool CDependencyBase::ClassFlag12() const {
    return true;
}

bool CDependencyBase::ClassFlag13() const {
    return false;
}

bool CDependencyBase::ClassFlag14() const {
    return true;
}

CDependencyBase::List CDependencyBase::GetImplicitBindingFiles(const std::string&) {
    return {};
}

CDependencyBase::List CDependencyBase::GetExplicitBindingFiles(const std::string&) {
    return {};
}

}  // namespace vexa
