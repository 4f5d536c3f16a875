#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

vec3 toneMapped(vec3 light)
{
    return min(light, 1.0);
}
