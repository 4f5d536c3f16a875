#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

layout(std140, binding = 1) uniform Params {
    float contrast;
    float shoulder;
    float hdrMax;
    float midIn;
    float midOut;
};

// Lottes 2016. The two constants make midIn come out as midOut, and hdrMax as 1.
vec3 toneMapped(vec3 light)
{
    float inPower = pow(midIn, contrast);
    float maxPower = pow(hdrMax, contrast);
    float inShoulder = pow(midIn, contrast * shoulder);
    float maxShoulder = pow(hdrMax, contrast * shoulder);
    float divisor = (maxShoulder - inShoulder) * midOut;
    float b = (maxPower * midOut - inPower) / divisor;
    float c = (maxShoulder * inPower - maxPower * inShoulder * midOut) / divisor;
    vec3 bounded = min(light, hdrMax);
    return pow(bounded, vec3(contrast)) / (pow(bounded, vec3(contrast * shoulder)) * b + c);
}
