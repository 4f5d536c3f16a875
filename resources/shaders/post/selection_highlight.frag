#version 450
#extension GL_GOOGLE_include_directive : enable
#include "../item_id.glsl"
#include "highlight.glsl"

layout(binding = 1) uniform sampler2D u_materialTex;
layout(binding = 4) uniform sampler2D u_selectedIds; // one bit an id, rows by layer: see SelectionTable
layout(std140, binding = 3) uniform SelectionBuf {
    uvec4 selectionBitmask[2]; // one bit a node of the field, the first 256
    vec4 tintColor;
    vec4 outlineColor;
    float outlineThickness;
    float separatorAlpha;
    float texelWidth;
    float texelHeight;
    float time;
};

const uint LAYER_SDF = 1u;
const uint LAYER_PROXY = 5u;
const uint TABLE_WIDTH = 256u;
const uint ROWS_PER_LAYER = 8u;

bool isNodeSelected(uint index)
{
    return (selectionBitmask[index >> 7][(index >> 5) & 3u] >> (index & 31u) & 1u) != 0u;
}

bool isInTable(uint layer, uint index)
{
    uint texel = index >> 5;
    uint slot = layer == LAYER_PROXY ? 3u : layer - 1u;
    if (texel >= TABLE_WIDTH * ROWS_PER_LAYER || slot > 3u) {
        return false;
    }
    ivec2 place = ivec2(texel % TABLE_WIDTH, slot * ROWS_PER_LAYER + texel / TABLE_WIDTH);
    return (unpackItemId(texelFetch(u_selectedIds, place, 0)) >> (index & 31u) & 1u) != 0u;
}

bool isMarked(uint id)
{
    uint layer = id >> 28;
    uint index = id & 0x0fffffffu;
    return layer == LAYER_SDF && index < 256u ? isNodeSelected(index) : isInTable(layer, index);
}

// Where two selected parts meet: not where they flow into each other.
float separator(vec2 uv, vec2 texel)
{
    uint id = itemIdAt(uv);
    uint right = itemIdAt(uv + vec2(texel.x, 0.0));
    uint above = itemIdAt(uv + vec2(0.0, texel.y));
    bool meets = (right != id && isMarked(right)) || (above != id && isMarked(above));
    float blend = texture(u_materialTex, uv).b;
    return meets ? 1.0 - 2.0 * min(blend, 1.0 - blend) : 0.0;
}

// Diagonal stripes of 16 texels, that move with the time.
float stripes(vec2 uv, vec2 texel)
{
    vec2 place = uv / texel;
    return 0.5 + 0.5 * sin((place.x + place.y) * 0.3926991 - time * 6.2831853);
}

void main()
{
    vec4 scene = texelFetch(u_sceneColor, ivec2(vUV * vec2(textureSize(u_sceneColor, 0))), 0);
    vec2 texel = vec2(texelWidth, texelHeight);
    float mask = markMask(vUV);
    vec3 tint = mix(0.8, 1.15, stripes(vUV, texel)) * tintColor.rgb;
    vec3 color = mix(scene.rgb, tint, tintColor.w * mask);
    if (mask > 0.5) {
        color = mix(color, outlineColor.rgb, separatorAlpha * separator(vUV, texel));
    }
    fragColor = vec4(outlined(color, outlineColor, markEdge(vUV, outlineThickness * texel)), scene.a);
}
