#version 450
#extension GL_GOOGLE_include_directive : enable
#include "bloom.glsl"

layout(binding = 0) uniform sampler2D u_src;
layout(binding = 2) uniform sampler2D u_bloom;

void main()
{
    vec3 scene = finiteLight(texelFetch(u_src, ivec2(vUV * vec2(textureSize(u_src, 0))), 0).rgb);
    fragColor = vec4(scene + texture(u_bloom, vUV).rgb * intensity, 1.0);
}
