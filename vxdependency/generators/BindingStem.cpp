#include "vxdependency/generators/BindingStem.h"

#include "vexa/io/Path.h"
#include "vxdependency/generators/DependencyNfx.h"

namespace vexa {

std::string BindingStem(const CDependencyBase& generator, const std::string& path) {
    if (!dynamic_cast<const CDependencyNfx*>(&generator)) return vxio::GetStem(path);
    return vxio::GetDirName(path) + vxio::GetFileNameWithoutExtension(path);
}

}  // namespace vexa
