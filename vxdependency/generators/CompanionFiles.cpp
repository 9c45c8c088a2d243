#include "vxdependency/generators/CompanionFiles.h"

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/Path.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"

namespace vexa {

void CollectCompanion(const std::string& key, const std::string& suffix, std::int32_t strategy,
                      std::vector<std::string>& dependencies,
                      std::vector<std::string>& secondList) {
    const std::string companion = vxio::GetStem(key) + suffix;
    if (!InterfaceBox::Instance().GetFileService().FileExists(companion)) {
        ReportAbsent(companion);
        return;
    }
    const ReferenceSite site([] { return ReferencePlace{0, 0, "companion file"}; });
    CollectReference(key, companion, strategy, site, dependencies, secondList);
}

}  // namespace vexa
