// Shared by the lit shaders. Included by name, so it stays beside them.
#ifndef HARBOUR_COMMON_H
#define HARBOUR_COMMON_H

float4x4 World;
float4x4 ViewProjection;
float3 SunDirection;
float3 SunColour;
float3 SkyColour;

struct Vertex {
    float3 position : POSITION;
    float3 normal : NORMAL;
    float2 uv : TEXCOORD0;
};

struct Fragment {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
    float3 normal : TEXCOORD1;
};

float3 Light(float3 normal) {
    return SkyColour + SunColour * saturate(dot(normal, -SunDirection));
}

#endif
