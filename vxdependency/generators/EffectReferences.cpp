#include "vxdependency/generators/EffectReferences.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/fx/Parser.h"
#include "vexa/io/Path.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

using List = std::vector<std::string>;

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

void WarnOfErrors(const std::string& file, const std::vector<fx::Message>& errors) {
    if (errors.empty()) return;
    const std::string more =
        errors.size() > 1 ? fmt::format(" (and {} more)", errors.size() - 1) : "";
    LogWarning("%s: not all of the effect can be read: %s%s", file.c_str(),
               errors.front().text.c_str(), more.c_str());
}

std::shared_ptr<fx::Effect> Parse(const std::string& file, std::string_view text) {
    fx::Parser parser;
    parser.SetPath(file);
    parser.SetSubPath("");
    std::shared_ptr<fx::Effect> effect = parser.Parse_IgnoreError(text.data(), text.size());
    WarnOfErrors(file, parser.GetErrors());
    return effect;
}

void AddImages(const std::string& file, const fx::Param& texture, List& references) {
    const fx::Annotation* const block = texture.GetAnnotation();
    if (!block) return;
    fx::ParamInfo info;
    for (std::size_t i = 0; i < block->GetParamCount(); ++i) {
        if (!block->GetParamInfo(i, info) || info.type != fx::kStringType) continue;
        const std::string* const image = block->GetString(i);
        if (!image || !CDependencyManager::IsImage(*image)) continue;
        const ReferenceSite site([&] {
            return ReferencePlace{
                info.offset, info.line,
                fmt::format("texture {}, annotation {}", texture.GetName(), info.name)};
        });
        ReportPaths(file, *image, {image, 1}, site);
        references.push_back(*image);
    }
}

// A leading separator does not make a reference a path of the machine.
std::string WithoutAnchor(const std::string& path) {
    const bool anchored = path.starts_with('/') || path.starts_with('\\');
    std::string key;
    return anchored && Files().KeyOfReference(path, key) ? key : path;
}

// The source itself, and its variants for other platforms.
List VariantsOf(const std::string& path) {
    const std::string name = vxio::GetStem(path);
    const std::string extension = path.substr(name.size());
    return {path, name + "_gl" + extension, name + "_metal" + extension};
}

// Each of the variants that is there is listed, so that one which appears later matters.
void AddVariant(const std::string& path, List& references) {
    if (Files().FileExists(path)) {
        references.push_back(path);
        return;
    }
    std::string key;
    if (Files().KeyOfReference(path, key)) ReportAbsent(key);
}

void AddPassShader(const std::string& file, const fx::PassShader& shader, List& references) {
    const ReferenceSite site([&shader] {
        return ReferencePlace{
            shader.offset, shader.line,
            fmt::format("technique {}, pass {}: {}", shader.technique, shader.pass, shader.state)};
    });
    const List variants = VariantsOf(WithoutAnchor(shader.path));
    ReportPaths(file, shader.path, variants, site);
    for (const std::string& path : variants) AddVariant(path, references);
}

}  // namespace

std::vector<std::string> ReadEffectReferences(const std::string& file, std::string_view text) {
    List references;
    const std::shared_ptr<fx::Effect> effect = Parse(file, text);
    if (!effect) return references;
    for (std::size_t i = 0; i < effect->GetParamCount(); ++i) {
        const fx::Param& param = effect->GetParam(i);
        if (param.GetType() == fx::kTextureType) AddImages(file, param, references);
    }
    for (const fx::PassShader& shader : effect->GetPassShaders()) {
        AddPassShader(file, shader, references);
    }
    return references;
}

}  // namespace vexa
