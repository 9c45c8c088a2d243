#include "common.h"

Fragment main(Vertex input) {
    Fragment output;
    float4 world = mul(float4(input.position, 1), World);
    output.position = mul(world, ViewProjection);
    output.uv = input.uv;
    output.normal = mul(input.normal, (float3x3)World);
    return output;
}
