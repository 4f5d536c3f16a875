#version 450

layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 fragColor;

layout(binding = 1) uniform sampler2D depthTex;

// A depth texture cannot be read back; its copy in a colour format can.
void main()
{
    fragColor = vec4(textureLod(depthTex, uv, 0.0).r, 0.0, 0.0, 1.0);
}
