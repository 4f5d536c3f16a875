#version 450
#extension GL_GOOGLE_include_directive : enable
#include "bloom.glsl"

layout(binding = 0) uniform sampler2D u_src;

// What is above the threshold, in its own hue: the part of the brightest channel that is too much.
vec3 excess(vec2 uv)
{
    vec3 color = finiteLight(texture(u_src, uv).rgb);
    float peak = max(color.r, max(color.g, color.b));
    return color * (max(peak - threshold, 0.0) / max(peak, 1e-4));
}

// The target has half the size: the four texels under a pixel are cut each for itself, so that a small light
// neither vanishes nor flickers.
void main()
{
    vec2 halfTexel = 0.5 / vec2(textureSize(u_src, 0));
    fragColor = vec4(0.25 * (excess(vUV + halfTexel * vec2(-1.0, -1.0)) + excess(vUV + halfTexel * vec2(1.0, -1.0)) +
                             excess(vUV + halfTexel * vec2(-1.0, 1.0)) + excess(vUV + halfTexel)), 1.0);
}
