#version 450
#extension GL_GOOGLE_include_directive : enable
#include "surface_frame.glsl"
#include "../item_id.glsl"

layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(binding = 2) uniform sampler2D gDepth;
layout(binding = 3) uniform sampler2D gNormal;
layout(binding = 4) uniform sampler2D gMaterial;
layout(binding = 5) uniform sampler2D gItemId;
layout(binding = 6) uniform sampler2D gAlbedo;

// Shades the pixels of one layer, and writes their depth for what is drawn after it.
void main()
{
    ivec2 texel = ivec2(vUV * vec2(textureSize(gItemId, 0)));
    uint id = unpackItemId(texelFetch(gItemId, texel, 0));
    float depth = texelFetch(gDepth, texel, 0).r;
    if ((id >> 28) != layerType || depth >= 1.0) {
        discard;
    }
    vec2 device = vUV * 2.0 - 1.0;
    vec4 world = invViewProjMatrix * vec4(device.x, device.y * ndcYSign, depth * 2.0 - 1.0, 1.0);
    vec4 material = texelFetch(gMaterial, texel, 0);
    vec4 albedo = texelFetch(gAlbedo, texel, 0);
    Surface s = Surface(world.xyz / world.w, normalize(texelFetch(gNormal, texel, 0).xyz), albedo.rgb * albedo.rgb,
                        material.r, albedo.a, material.g / max(1.0 - material.g, 1.0 / 255.0), id & 0x0fffffffu);
    fragColor = vec4(shadedColor(s), 1.0);
    gl_FragDepth = depth;
}
