#version 450
#extension GL_GOOGLE_include_directive : enable
#include "tonemap.glsl"

layout(std140, binding = 1) uniform Params {
    float whitePoint;
};

// Reinhard et al. 2002, equation 4: light of the white point and above is white.
vec3 toneMapped(vec3 light)
{
    return light * (1.0 + light / (whitePoint * whitePoint)) / (1.0 + light);
}
