#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

// Narkowicz 2015: a rational fit of the ACES reference rendering.
vec3 toneMapped(vec3 light)
{
    return light * (2.51 * light + 0.03) / (light * (2.43 * light + 0.59) + 0.14);
}
