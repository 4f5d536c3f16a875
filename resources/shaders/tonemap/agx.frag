#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"
#include "agx.glsl"

vec3 toneMapped(vec3 light)
{
    return agxDisplayed(agxEncoded(light));
}
