#version 450

layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(binding = 0) uniform sampler2D u_src;
layout(std140, binding = 1) uniform FxaaBuf {
    float edgeThreshold;
};

// The source is linear light; edges are seen in the encoded picture, for which the root stands.
float luma(vec3 color)
{
    return dot(sqrt(clamp(color, 0.0, 1.0)), vec3(0.299, 0.587, 0.114));
}

float lumaAt(vec2 offset)
{
    return luma(texture(u_src, vUV + offset / vec2(textureSize(u_src, 0))).rgb);
}

// Fast approximate anti-aliasing after Lottes 2009, its first step alone: across an edge that stands out, half a
// texel of the side that differs more is mixed in.
void main()
{
    vec4 centre = texture(u_src, vUV);
    float m = luma(centre.rgb);
    float n = lumaAt(vec2(0.0, 1.0));
    float s = lumaAt(vec2(0.0, -1.0));
    float e = lumaAt(vec2(1.0, 0.0));
    float w = lumaAt(vec2(-1.0, 0.0));
    float lMax = max(m, max(max(n, s), max(e, w)));
    float lMin = min(m, min(min(n, s), min(e, w)));
    if (lMax - lMin < max(edgeThreshold, lMax * 0.125)) {
        fragColor = centre;
        return;
    }
    float gradH = abs(n + s - 2.0 * m);
    float gradV = abs(e + w - 2.0 * m);
    bool horzEdge = gradH >= gradV;
    float ahead = horzEdge ? n : e;
    float behind = horzEdge ? s : w;
    float side = abs(ahead - m) >= abs(behind - m) ? 0.5 : -0.5;
    vec2 across = horzEdge ? vec2(0.0, side) : vec2(side, 0.0);
    fragColor = vec4(texture(u_src, vUV + across / vec2(textureSize(u_src, 0))).rgb, centre.a);
}
