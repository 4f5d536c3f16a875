// What the outlines of selected and hovered items share. Each defines isMarked(), and inside its block the members
// tintColor, outlineColor and outlineThickness (in texels).
layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(binding = 0) uniform sampler2D u_sceneColor;
layout(binding = 2) uniform sampler2D u_itemId; // of the size of the scene or not: read by the nearest texel

bool isMarked(uint id);

uint itemIdAt(vec2 uv)
{
    ivec2 size = textureSize(u_itemId, 0);
    return unpackItemId(texelFetch(u_itemId, clamp(ivec2(uv * vec2(size)), ivec2(0), size - 1), 0));
}

// Beyond the border lies what is at the border, so that nothing is outlined there.
float markMask(vec2 uv)
{
    uint id = itemIdAt(uv);
    return id != 0u && isMarked(id) ? 1.0 : 0.0;
}

// How strongly the mask changes here: the gradient of Sobel, 1 along a straight border.
float markEdge(vec2 uv, vec2 reach)
{
    float nw = markMask(uv + reach * vec2(-1.0, 1.0));
    float n = markMask(uv + reach * vec2(0.0, 1.0));
    float ne = markMask(uv + reach);
    float w = markMask(uv + reach * vec2(-1.0, 0.0));
    float e = markMask(uv + reach * vec2(1.0, 0.0));
    float sw = markMask(uv - reach);
    float s = markMask(uv + reach * vec2(0.0, -1.0));
    float se = markMask(uv + reach * vec2(1.0, -1.0));
    return length(vec2(ne + 2.0 * e + se - nw - 2.0 * w - sw, nw + 2.0 * n + ne - sw - 2.0 * s - se)) / 4.0;
}

vec3 outlined(vec3 color, vec4 line, float edge)
{
    return mix(color, line.rgb, line.a * smoothstep(0.1, 0.5, edge));
}
