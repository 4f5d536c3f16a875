#version 450

layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(binding = 0) uniform sampler2D u_src;
layout(std140, binding = 1) uniform Params {
    float multiplier;
};

void main()
{
    vec4 col = texelFetch(u_src, ivec2(vUV * vec2(textureSize(u_src, 0))), 0);
    fragColor = vec4(col.rgb * multiplier, col.a);
}
