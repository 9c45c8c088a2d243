#include "vxdependency/generators/IncludeReference.h"

#include <utility>

#include "vxdependency/generators/IncludeScan.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"

namespace vexa {

std::string IncludePath(const std::string& file, const std::string& name) {
    return file.substr(0, file.rfind('\\')) + '\\' + name;
}

std::vector<std::string> ReadIncludes(const std::string& file, std::string_view text) {
    std::vector<std::string> paths;
    for (const IncludeName& include : ScanIncludes(text)) {
        std::string path = IncludePath(file, include.name);
        const ReferenceSite site([&include] {
            return ReferencePlace{include.offset, include.line, "#include"};
        });
        ReportPaths(file, include.name, {&path, 1}, site);
        paths.push_back(std::move(path));
    }
    return paths;
}

}  // namespace vexa
