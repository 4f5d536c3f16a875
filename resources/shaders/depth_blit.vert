#version 450

layout(location = 0) out vec2 uv;

// One triangle that covers the target, which shows a region of the source.
layout(std140, binding = 0) uniform buf {
    vec4 region; // xy the origin, zw the size, both in texture coordinates
    vec4 ndc;    // y: 1 where y points up in the device's coordinates, else -1
};

void main()
{
    vec2 corner = vec2((gl_VertexIndex << 1) & 2, gl_VertexIndex & 2);
    uv = region.xy + corner * region.zw;
    vec2 position = corner * 2.0 - 1.0;
    gl_Position = vec4(position.x, position.y * ndc.y, 0.0, 1.0);
}
