#version 450
#extension GL_GOOGLE_include_directive : enable
#include "bloom.glsl"

layout(binding = 0) uniform sampler2D u_src;

vec3 at(float x, float y)
{
    return texture(u_src, vUV + vec2(x, y) / vec2(textureSize(u_src, 0))).rgb;
}

// 13 taps, Jimenez 2014.
void main()
{
    vec3 inner = at(-1.0, -1.0) + at(1.0, -1.0) + at(-1.0, 1.0) + at(1.0, 1.0);
    vec3 edges = at(-2.0, 0.0) + at(2.0, 0.0) + at(0.0, -2.0) + at(0.0, 2.0);
    vec3 corners = at(-2.0, -2.0) + at(2.0, -2.0) + at(-2.0, 2.0) + at(2.0, 2.0);
    fragColor = vec4(0.125 * (at(0.0, 0.0) + inner) + 0.0625 * edges + 0.03125 * corners, 1.0);
}
