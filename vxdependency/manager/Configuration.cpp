#include "vxdependency/manager/Configuration.h"

#include <fmt/format.h>
#include <xxhash.h>

#include "vexa/io/JsonData.h"
#include "vexa/io/PackageManager.h"
#include "vexa/os/WindowsApi.h"
#include "vxdependency/generators/DependencyChunk.h"
#include "vxdependency/generators/DependencyNfx.h"
#include "vxdependency/generators/DependencyRawAnimation.h"
#include "vxdependency/generators/DependencyShader.h"
#include "vxdependency/generators/DependencySpr.h"
#include "vxdependency/generators/GeneratorConfig.h"

namespace vexa {

namespace {

// Raise it when a generator finds other references in an unchanged file than before; every store
// is then filled anew by its next scan.
constexpr int kReadingVersion = 5;

}  // namespace

Configuration Configuration::Locate() {
    const std::string package = vxio::PackageManager::Instance().GetPackagePath("builtin");
    return {package + "/res/builtin/dependency_config/xml_config.json",
            package + "/res/builtin/dependency_config/json_config.json"};
}

std::string Configuration::FirstMissing() const {
    for (const std::string& path : {xmlPath, jsonPath}) {
        if (_access(path.c_str(), 0) != 0) return path;
    }
    return "";
}

std::string Configuration::CreateGenerators() const {
    std::string error = LoadXmlGenerators(xmlPath);
    const std::string jsonError = LoadJsonGenerators(jsonPath);
    if (error.empty()) error = jsonError;
    // The manager owns generators from their construction on.
    for (const char* extension : {"vs", "ps", "hlsl"}) MakeGenerator<CDependencyShader>(extension);
    for (const char* extension : {"nfx", "spx"}) MakeGenerator<CDependencyNfx>(extension);
    MakeGenerator<CDependencySpr>("spr");
    MakeGenerator<CDependencyChunk>("chunk");
    MakeGenerator<CDependencyRawAnimation>("rawanimation");
    return error;
}

std::optional<std::string> Configuration::Fingerprint() const {
    std::string fingerprint = fmt::format("{}", kReadingVersion);
    for (const std::string& path : {xmlPath, jsonPath}) {
        vxio::JsonData document;
        if (document.Load(path) != 0) return std::nullopt;
        const std::string& text = document.GetSource();
        fingerprint += fmt::format(" {:016x}", XXH64(text.data(), text.size(), 0));
    }
    return fingerprint;
}

}  // namespace vexa
