#include "vxdependency/generators/AnimConfigFile.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/io/Path.h"
#include "vexa/os/WindowsApi.h"
#include "vexa/util/XmlDoc.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

bool AddAnimation(XmlDoc& config, const std::string& path, const std::string& animation) {
    XmlDoc element = config.AddDocument("AnimationList", "Animation");
    const std::string name =
        vxio::GetFileNameWithoutExtension(animation) + "_" + std::to_string(std::rand());
    const std::string place =
        vxio::GetRelativeDir(animation, vxio::GetDirName(path)) + vxio::GetFileName(animation);
    return element.SetAttribute("", "Name", name) && element.SetAttribute("", "FileName", place);
}

void EnterAnimation(const std::string& path, const std::string& animation) {
    XmlDoc config;
    if (!config.OpenFile(path)) {
        LogWarning("%s: cannot be read as XML: %s", path.c_str(), config.GetError().c_str());
    } else if (!AddAnimation(config, path, animation)) {
        LogWarning("%s: %s cannot be entered: there is no AnimationList, or its name does not fit",
                   path.c_str(), animation.c_str());
    } else if (!config.Save(path)) {
        LogWarning("%s", config.GetError().c_str());
    }
}

}  // namespace

void EnterIntoAnimConfig(const std::string& resource, const std::string& animation) {
    CDependencyManager& manager = CDependencyManager::GetSingleton();
    const std::vector<std::string> users = manager.GetDependency(resource, true);
    const auto config = std::ranges::find(users, ".animconfig", vxio::GetFileExtension);
    char path[MAX_PATH + 1];
    if (config == users.end() || !manager.MakeAbsolutePath(path, config->c_str())) return;
    EnterAnimation(path, InterfaceBox::Instance().GetFileService().AbsolutePath(animation));
}

}  // namespace vexa
