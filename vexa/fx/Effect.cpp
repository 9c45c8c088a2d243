#include "vexa/fx/Effect.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vexa::fx {

BaseEffect::BaseEffect(std::string path, std::string subPath, std::size_t childrenCount)
    : m_path(std::move(path)), m_subPath(std::move(subPath)), m_childrenCount(childrenCount) {}

const std::string& BaseEffect::GetPath() const {
    return m_path;
}

const std::string& BaseEffect::GetSubPath() const {
    return m_subPath;
}

std::size_t BaseEffect::GetChildrenCount() const {
    return m_childrenCount;
}

Effect::Effect(std::string path, std::string subPath, Contents contents)
    : BaseEffect(std::move(path), std::move(subPath), contents.passCount),
      m_contents(std::move(contents)) {}

std::size_t Effect::GetParamCount() const {
    return m_contents.params.size();
}

const Param& Effect::GetParam(std::size_t index) const {
    return m_contents.params.at(index);
}

std::vector<std::string> Effect::GetPassShaderPath() const {
    std::vector<std::string> paths;
    std::ranges::transform(m_contents.passShaders, std::back_inserter(paths), &PassShader::path);
    return paths;
}

const std::vector<PassShader>& Effect::GetPassShaders() const {
    return m_contents.passShaders;
}

}  // namespace vexa::fx
