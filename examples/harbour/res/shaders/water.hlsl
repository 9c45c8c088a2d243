#include "waves.hlsl"

Texture2D Albedo : register(t0);
Texture2D Normal : register(t1);
SamplerState Linear : register(s0);

float4 main(float2 uv : TEXCOORD0) : SV_Target {
    float2 ripple = Normal.Sample(Linear, Drift(uv)).xy - 0.5;
    return Albedo.Sample(Linear, uv + ripple * 0.05);
}
