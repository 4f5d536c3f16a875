#version 450

layout(location = 0) in vec2 inUV;
layout(location = 0) out vec2 vUV;

out gl_PerVertex { vec4 gl_Position; };

// Coordinates of the device, in which a texture that was drawn to is read as it lies: a pass from one to another
// turns nothing over.
void main()
{
    vUV = inUV;
    gl_Position = vec4(inUV * 2.0 - 1.0, 0.0, 1.0);
}
