// How fast the includes of shader sources are found, on one core.

#include <benchmark/benchmark.h>

#include <string>

#include "vxdependency/generators/IncludeScan.h"

namespace {

constexpr std::size_t kSize = 4U << 20U;

const std::string kHeader =
    "/******************************************************************************\n"
    " * Copyright and licence of the studio. Redistribution and use in source and\n"
    " * binary forms, with or without modification, are not permitted.\n"
    " ******************************************************************************/\n"
    "//////////////////////////////////////////////////////////////////////////////\n"
    "// Blinn-Phong with one directional light; see the notes on energy / area.\n"
    "#include \"common/lighting.hlsl\"\n";

const std::string kCode =
    "float4 main(float2 uv : TEXCOORD0, float3 n : NORMAL) : SV_Target {\n"
    "    float light = saturate(dot(normalize(n), Sun.xyz)) * 0.7f / (1.0f + Fog * Depth);\n"
    "    float3 half_way = normalize(Eye - Position) + Sun.xyz; // not normalised yet\n"
    "#if defined(SHADOWS) && QUALITY > 1\n"
    "    for (int i = 0; i < 4; ++i) light *= Shadow.SampleCmp(S, uv + Taps[i] / 512, Depth);\n"
    "#endif\n"
    "    return Albedo.Sample(Linear, uv) * (0.3 + light) + Gloss * pow(half_way.z, 32);\n"
    "}\n";

std::string Repeated(const std::string& piece) {
    std::string text;
    while (text.size() < kSize) text += piece;
    return text;
}

void Scan(benchmark::State& state, const std::string& text) {
    for (auto _ : state) benchmark::DoNotOptimize(vexa::ScanIncludes(text));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

BENCHMARK_CAPTURE(Scan, Comments, Repeated(kHeader));
BENCHMARK_CAPTURE(Scan, Code, Repeated(kCode));
BENCHMARK_CAPTURE(Scan, Both, Repeated(kHeader + kCode));

}  // namespace

BENCHMARK_MAIN();
