#version 450

layout(location = 0) in float vSide; // pixels from the middle of the line
layout(location = 0) out vec4 fragColor;

layout(std140, binding = 0) uniform Buf {
    mat4 mvp;
    vec4 color;
    vec4 pixelSize;
};

void main()
{
    float cover = clamp(0.5 * pixelSize.z + 0.5 - abs(vSide), 0.0, 1.0);
    fragColor = vec4(color.rgb, color.a * cover);
}
