#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

// Between Reinhard's curve on luminance, which keeps hues, and the one on channels, which bleaches what is bright.
vec3 toneMapped(vec3 light)
{
    vec3 channels = light / (1.0 + light);
    return mix(light / (1.0 + dot(light, LUMINANCE)), channels, channels);
}
