// The formats of the engine.

#include <algorithm>
#include <string_view>

#include "bench/tree/Texts.h"
#include "vexa/io/RawAnimation.h"
#include "vexa/terrain/ChunkData.h"

namespace bench {

namespace {

constexpr std::string_view kShaderCode =
    "// Blinn-Phong with one directional light; see the notes on energy / area.\n"
    "cbuffer Frame : register(b0) {\n"
    "    float4x4 ViewProjection;\n"
    "    float4 Sun, Fog, Eye;\n"
    "};\n"
    "Texture2D Albedo : register(t0);\n"
    "SamplerState Linear : register(s0);\n\n"
    "float4 main(float2 uv : TEXCOORD0, float3 n : NORMAL, float depth : DEPTH) : SV_Target {\n"
    "    float light = saturate(dot(normalize(n), Sun.xyz)) * 0.7f / (1.0f + Fog.x * depth);\n"
    "    float3 half_way = normalize(Eye.xyz) + Sun.xyz; // not normalised yet\n"
    "#if defined(SHADOWS) && QUALITY > 1\n"
    "    for (int i = 0; i < 4; ++i) light *= Shadow.SampleCmp(S, uv + Taps[i] / 512, depth);\n"
    "#endif\n"
    "    return Albedo.Sample(Linear, uv) * (0.3 + light) + pow(half_way.z, 32);\n"
    "}\n";

constexpr std::string_view kEffectParameters =
    "float4x4 World : WORLD;\n"
    "float4x4 ViewProjection : VIEWPROJECTION;\n"
    "float3 SunDirection : DIRECTION < string UIName = \"Sun\"; > = {0.3, -0.9, 0.3};\n"
    "float Gloss < string UIName = \"Gloss\"; float UIMin = 0; float UIMax = 1; > = 0.25;\n\n";

constexpr std::string_view kEffectCode =
    "struct Fragment {\n"
    "    float4 position : POSITION;\n"
    "    float2 uv : TEXCOORD0;\n"
    "};\n\n"
    "Fragment Place(float4 position : POSITION, float2 uv : TEXCOORD0) {\n"
    "    Fragment output;\n"
    "    output.position = mul(mul(position, World), ViewProjection);\n"
    "    output.uv = uv;\n"
    "    return output;\n"
    "}\n\n";

std::string TextureParameter(const std::string& number, const std::string& texture) {
    return "texture Map" + number + " : MAP" + number + " < string UIName = \"Map " + number +
           "\"; string ResourceName = \"" + texture + "\"; >;\nsampler2D Sampler" + number +
           " = sampler_state {\n    Texture = <Map" + number +
           ">;\n    MinFilter = Anisotropic;\n    MagFilter = Linear;\n};\n";
}

}  // namespace

Contents SurfaceText(const std::string& shader, const std::vector<std::string>& textures) {
    Contents text{"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Surface>\n  <Shader file=\"/" +
                      shader + "\" quality=\"2\"/>\n",
                  2};
    for (std::size_t i = 0; i < textures.size(); ++i) {
        text.bytes += "  <Texture" + std::to_string(i) + " file=\"" + Relative(textures[i]) +
                      "\" filter=\"trilinear\" repeat=\"4\"/>\n";
        text.values += 3;
    }
    text.bytes += "  <Parameter name=\"gloss\" value=\"0.35\" minimum=\"0\" maximum=\"1\"/>\n";
    text.bytes += "</Surface>\n";
    text.values += 4;
    return text;
}

Contents ShaderText(const File& file) {
    const std::uint64_t place = file.index % kShadersInFolder;
    if (place == 0) return {std::string(kShaderCode), 0};
    const File included{Kind::Shader, file.index - place + (place == 1 ? 0 : 1)};
    const std::string key = Layout::KeyOf(included);
    return {"#include \"" + key.substr(key.rfind('/') + 1) + "\"\n" + std::string(kShaderCode), 1};
}

Contents EffectText(const std::string& include, const std::string& vertexShader,
                    const std::string& pixelShader, const std::vector<std::string>& textures) {
    Contents text{"#include \"" + include + "\"\n\n" + std::string(kEffectParameters),
                  textures.size() + 3};
    for (std::size_t i = 0; i < textures.size(); ++i)
        text.bytes += TextureParameter(std::to_string(i), textures[i]);
    text.bytes += kEffectCode;
    text.bytes += "technique Lit {\n    pass Surface {\n        VertexShader = compile vs_3_0 \"" +
                  vertexShader + "\" main;\n        PixelShader = compile ps_3_0 \"" + pixelShader +
                  "\" main;\n        CullMode = CCW;\n        ZEnable = true;\n    }\n}\n";
    return text;
}

Contents SpriteText(const std::string& texture) {
    std::string bytes = "sprite\n64 32\n8\n";
    for (int frame = 0; frame < 8; ++frame)
        bytes += texture + ' ' + std::to_string(frame * 32) + " 0 32 32\n";
    return {std::move(bytes), 1};
}

Contents ChunkBytes(const File& file, const std::string& surface,
                    const std::vector<std::string>& textures) {
    constexpr std::uint32_t kSide = 16;
    const auto tile = static_cast<std::int32_t>(file.index);
    vexa::terrain::ChunkData chunk(tile % 1000, tile / 1000);
    chunk.SetSurfaceName(surface);
    for (std::size_t i = 0; i < textures.size(); ++i) {
        if (i % 4 == 0) chunk.AddLayer(8);
        chunk.AddTexture(textures[i]);
    }
    chunk.SetHeights(kSide, kSide, std::vector<float>(kSide * kSide, 1.25F));
    return {chunk.ToBytes(), textures.size() + 1};
}

Contents AnimationBytes(const std::string& resource) {
    vexa::vxio::RawAnimation animation;
    animation.reference = Relative(resource);
    std::ranges::replace(animation.reference, '/', '\\');
    animation.body.assign(1200, '\x07');
    std::string bytes;
    vexa::vxio::MemoryOutput output(bytes);
    animation.Write(output);
    return {std::move(bytes), 1};
}

Contents TextureBytes(const File& file) {
    std::string bytes("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16);
    bytes += std::to_string(file.index);
    bytes.resize(400 + file.index % 1600, '\x5A');
    return {std::move(bytes), 0};
}

}  // namespace bench
