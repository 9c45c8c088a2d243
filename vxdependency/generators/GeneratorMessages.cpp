#include "vxdependency/generators/GeneratorMessages.h"

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"

namespace vexa {

bool KeyToRead(const std::string& file, std::string& key) {
    if (InterfaceBox::Instance().GetFileService().MakeRelative(file, key)) return true;
    LogWarning("%s: cannot be read: not below the resource root", file.c_str());
    return false;
}

void WarnUnreadable(const std::string& key, const char* language, const std::string& reason) {
    if (InterfaceBox::Instance().GetFileService().GetState(key).exists) {
        LogWarning("%s: cannot be read as %s: %s", key.c_str(), language, reason.c_str());
    } else {
        LogWarning("%s: cannot be read: there is no such file", key.c_str());
    }
}

void LogNotRewritten(const std::string& file, const std::string& reference) {
    LogError("%s: references to %s cannot be rewritten: rewriting is not available in this version",
             file.c_str(), reference.c_str());
}

}  // namespace vexa
