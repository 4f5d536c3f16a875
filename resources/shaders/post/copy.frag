#version 450

layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(binding = 0) uniform sampler2D u_src;

void main()
{
    fragColor = texture(u_src, vUV);
}
