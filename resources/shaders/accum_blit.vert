#version 450

layout(location = 0) in vec3 inPos;
layout(location = 1) in vec2 inUV;
layout(location = 0) out vec2 vUV;

out gl_PerVertex { vec4 gl_Position; };

void main()
{
    vUV = inUV;
    gl_Position = vec4(inPos, 1.0);
}
