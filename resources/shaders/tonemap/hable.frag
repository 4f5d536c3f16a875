#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

layout(std140, binding = 1) uniform Params {
    float whitePoint;
};

const float EXPOSURE_BIAS = 2.0;

// Hable 2010: shoulder, linear part and toe of a film in one rational curve.
vec3 filmCurve(vec3 x)
{
    const float A = 0.15;
    const float B = 0.50;
    const float C = 0.10;
    const float D = 0.20;
    const float E = 0.02;
    const float F = 0.30;
    return (x * (A * x + C * B) + D * E) / (x * (A * x + B) + D * F) - E / F;
}

vec3 toneMapped(vec3 light)
{
    return filmCurve(EXPOSURE_BIAS * light) / filmCurve(vec3(whitePoint));
}
