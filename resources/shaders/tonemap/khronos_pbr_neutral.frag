#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

// Khronos 2024: true base colours up to 0.76, then the peak is compressed and the colour bleached towards it.
const float COMPRESSION_START = 0.8 - 0.04;
const float DESATURATION = 0.15;

vec3 toneMapped(vec3 light)
{
    float smallest = min(light.r, min(light.g, light.b));
    vec3 color = light - (smallest < 0.08 ? smallest - 6.25 * smallest * smallest : 0.04);
    float peak = max(color.r, max(color.g, color.b));
    if (peak < COMPRESSION_START) {
        return color;
    }
    float range = 1.0 - COMPRESSION_START;
    float newPeak = 1.0 - range * range / (peak + range - COMPRESSION_START);
    float kept = 1.0 / (DESATURATION * (peak - newPeak) + 1.0);
    return mix(vec3(newPeak), color * (newPeak / peak), kept);
}
