#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

// Reinhard et al. 2002, on each channel.
vec3 toneMapped(vec3 light)
{
    return light / (1.0 + light);
}
