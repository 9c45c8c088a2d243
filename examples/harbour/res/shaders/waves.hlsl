float Time;

// Where the waves that are at `uv` now came from.
float2 Drift(float2 uv) {
    return uv + Time * 0.02;
}
