#include "vexa/fx/Types.h"

#include <algorithm>
#include <string>

#include "vexa/fx/Annotation.h"

namespace vexa::fx {
namespace {

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// In lower case. Those of numbers go without the dimensions, as in "float4x4".
const std::unordered_map<std::string_view, int>& LanguageTypes() {
    static const auto& types = *new std::unordered_map<std::string_view, int>{
        {"bool", kBoolType},
        {"int", kIntType},
        {"uint", kIntType},
        {"dword", kIntType},
        {"byte", kIntType},
        {"short", kIntType},
        {"char", kIntType},
        {"long", kIntType},
        {"min16int", kIntType},
        {"min12int", kIntType},
        {"min16uint", kIntType},
        {"float", kFloatType},
        {"half", kFloatType},
        {"fixed", kFloatType},
        {"double", kFloatType},
        {"min16float", kFloatType},
        {"min10float", kFloatType},
        {"vector", kFloatType},
        {"matrix", kFloatType},
        {"string", kStringType},
        {"sampler", kSamplerType},
        {"sampler1d", kSamplerType},
        {"sampler2d", kSamplerType},
        {"sampler3d", kSamplerType},
        {"samplercube", kSamplerType},
        {"samplerrect", kSamplerType},
        {"sampler_state", kSamplerType},
        {"samplerstate", kSamplerType},
        {"samplercomparisonstate", kSamplerType},
        {"vertexshader", kShaderType},
        {"pixelshader", kShaderType},
        {"geometryshader", kShaderType},
        {"hullshader", kShaderType},
        {"domainshader", kShaderType},
        {"computeshader", kShaderType},
        {"blendstate", kStateType},
        {"depthstencilstate", kStateType},
        {"rasterizerstate", kStateType},
        {"stateblock", kStateType},
        {"rendertargetview", kStateType},
        {"depthstencilview", kStateType},
        {"buffer", kBufferType},
        {"rwbuffer", kBufferType},
        {"constantbuffer", kBufferType},
        {"texturebuffer", kBufferType},
        {"structuredbuffer", kBufferType},
        {"rwstructuredbuffer", kBufferType},
        {"appendstructuredbuffer", kBufferType},
        {"consumestructuredbuffer", kBufferType},
        {"byteaddressbuffer", kBufferType},
        {"rwbyteaddressbuffer", kBufferType},
    };
    return types;
}

bool IsTextureType(std::string_view name) {
    for (const std::string_view access : {"rasterizerordered", "rw"})
        if (name.starts_with(access)) name.remove_prefix(access.size());
    if (!name.starts_with("texture")) return false;
    static constexpr std::string_view kKinds[] = {"",     "1d",      "2d",        "3d",
                                                  "cube", "rect",    "1darray",   "2darray",
                                                  "2dms", "3darray", "2dmsarray", "cubearray"};
    return std::ranges::find(kKinds, name.substr(7)) != std::end(kKinds);
}

// "float4x4" -> "float".
std::string_view WithoutDimensions(std::string_view name) {
    const auto isDimension = [](char c) { return c >= '1' && c <= '4'; };
    const auto drop = [&] {
        const bool drops = !name.empty() && isDimension(name.back());
        if (drops) name.remove_suffix(1);
        return drops;
    };
    if (drop() && name.ends_with('x')) {
        name.remove_suffix(1);
        drop();
    }
    return name;
}

std::optional<int> FindInLanguage(std::string_view name) {
    if (IsTextureType(name)) return kTextureType;
    const auto& types = LanguageTypes();
    const auto whole = types.find(name);
    if (whole != types.end()) return whole->second;
    const auto scalar = types.find(WithoutDimensions(name));
    if (scalar == types.end() || scalar->second > kFloatType) return std::nullopt;
    return scalar->second;
}

}  // namespace

bool EqualsWithoutCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, Lower, Lower);
}

bool IsModifier(std::string_view word) {
    static constexpr std::string_view kWords[] = {
        "const",    "extern",    "groupshared",     "inline",   "nointerpolation",
        "precise",  "row_major", "column_major",    "shared",   "snorm",
        "static",   "uniform",   "unorm",           "unsigned", "varying",
        "volatile", "export",    "globallycoherent"};
    return std::ranges::find(kWords, word) != std::end(kWords);
}

bool IsStructWord(std::string_view word) {
    return word == "struct" || word == "class" || word == "interface" || word == "enum";
}

std::optional<int> TypeTable::Find(std::string_view name) const {
    const auto defined = m_defined.find(name);
    if (defined != m_defined.end()) return defined->second;
    constexpr std::size_t kLongest = 32;
    if (name.size() > kLongest) return std::nullopt;
    std::string lower(name.size(), '\0');
    std::ranges::transform(name, lower.begin(), Lower);
    return FindInLanguage(lower);
}

void TypeTable::Define(std::string_view name, int type) {
    m_defined[name] = type;
}

}  // namespace vexa::fx
