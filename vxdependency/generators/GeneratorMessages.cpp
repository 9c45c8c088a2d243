#include "vxdependency/generators/GeneratorMessages.h"

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/io/Path.h"

namespace vexa {

bool KeyToRead(const std::string& file, std::string& key) {
    if (InterfaceBox::Instance().GetFileService().MakeRelative(file, key)) return true;
    LogWarning("%s: cannot be read: not below the resource root", file.c_str());
    return false;
}

void WarnUnreadable(const std::string& key, const std::string& extension, const char* language,
                    const ReasonSource& reason) {
    if (vxio::GetFileExtension(key) != '.' + extension) {
        // It was only tried, as a terrain chunk is by the generator of its surface: that it is
        // something else is no fault of the file.
        Log(1, "%s: tried as %s, but cannot be read as %s", key.c_str(), extension.c_str(),
            language);
    } else if (InterfaceBox::Instance().GetFileService().GetState(key).exists) {
        LogWarning("%s: cannot be read as %s: %s", key.c_str(), language, reason().c_str());
    } else {
        LogWarning("%s: cannot be read: there is no such file", key.c_str());
    }
}

}  // namespace vexa
