Texture2D Albedo : register(t0);
SamplerState Linear : register(s0);

float4 main(float2 uv : TEXCOORD0, float3 normal : NORMAL) : SV_Target {
    float light = saturate(dot(normalize(normal), float3(0.3, 0.9, 0.3)));
    return Albedo.Sample(Linear, uv) * (0.3 + 0.7 * light);
}
