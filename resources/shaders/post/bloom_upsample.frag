#version 450
#extension GL_GOOGLE_include_directive : enable
#include "bloom.glsl"

layout(binding = 0) uniform sampler2D u_src;  // the next smaller level
layout(binding = 2) uniform sampler2D u_base; // this level, from the way down

vec3 at(float x, float y)
{
    return texture(u_src, vUV + radius * vec2(x, y) / vec2(textureSize(u_src, 0))).rgb;
}

// A tent of 9 taps over the smaller level, added to this one.
void main()
{
    vec3 corners = at(-1.0, -1.0) + at(1.0, -1.0) + at(-1.0, 1.0) + at(1.0, 1.0);
    vec3 edges = at(-1.0, 0.0) + at(1.0, 0.0) + at(0.0, -1.0) + at(0.0, 1.0);
    vec3 tent = (4.0 * at(0.0, 0.0) + 2.0 * edges + corners) / 16.0;
    fragColor = vec4(texture(u_base, vUV).rgb + tent, 1.0);
}
