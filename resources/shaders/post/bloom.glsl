// What the passes of the bloom share.
layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(std140, binding = 1) uniform BloomParams {
    float threshold;
    float intensity;
    float radius;
};

// NaN becomes black: one such pixel would be spread over the whole picture.
vec3 finiteLight(vec3 color)
{
    return vec3(color.r > 0.0 ? min(color.r, 65504.0) : 0.0, color.g > 0.0 ? min(color.g, 65504.0) : 0.0,
                color.b > 0.0 ? min(color.b, 65504.0) : 0.0);
}
