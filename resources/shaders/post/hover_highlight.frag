#version 450
#extension GL_GOOGLE_include_directive : enable
#include "../item_id.glsl"
#include "highlight.glsl"

layout(std140, binding = 3) uniform HoverBuf {
    vec4 tintColor;
    vec4 outlineColor;
    float outlineThickness;
    float texelWidth;
    float texelHeight;
    uint hoveredId;
};

bool isMarked(uint id)
{
    return id == hoveredId;
}

void main()
{
    vec4 scene = texelFetch(u_sceneColor, ivec2(vUV * vec2(textureSize(u_sceneColor, 0))), 0);
    vec3 color = mix(scene.rgb, tintColor.rgb, tintColor.w * markMask(vUV));
    float edge = markEdge(vUV, outlineThickness * vec2(texelWidth, texelHeight));
    fragColor = vec4(outlined(color, outlineColor, edge), scene.a);
}
