#include "vxdep/FindResource.h"

#include "vexa/common/InterfaceBox.h"
#include "vxdep/Failure.h"
#include "vxdep/FilesByName.h"
#include "vxdep/PathArgument.h"
#include "vxdep/Project.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"

namespace vxdep {

namespace {

using vexa::vxdependency::Direction;

vexa::FileState StateOf(const std::string& key) {
    return vexa::InterfaceBox::Instance().GetFileService().GetState(key);
}

bool IsKnown(const std::string& key) {
    const vexa::vxdependency::GraphReader reader(&Project::Store());
    return IsKnownFile(key) || !reader.Edges(key, Direction::Inverse).empty() ||
           !reader.Edges(key, Direction::Forward).empty();
}

// "; did you mean ...?" when exactly one known file has the name of `key`.
std::string Hint(const std::string& key) {
    const std::string name(NameOfKey(key));
    const std::string found = FilesByName({name}).Only(name);
    return found.empty() ? "" : "; did you mean " + found + "?";
}

}  // namespace

bool IsFolder(const std::string& key) {
    return StateOf(key).directory;
}

bool IsKnownFile(const std::string& key) {
    vexa::vxdependency::CatalogueEntry entry;
    return StateOf(key).exists || Project::Store().FindFile(key, entry);
}

std::string OpenAndFind(const Project& project, const std::string& argument) {
    const std::vector<std::string> keys = KeysOfArgument(argument, project.Resources());
    project.Open();
    project.LoadGenerators();
    return ChooseKey(argument, keys);
}

std::string ChooseKey(const std::string& argument, const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        if (IsKnown(key)) return key;
    }
    throw Failure(argument + ": no such file, and none refers to it" + Hint(keys.front()));
}

}  // namespace vxdep
