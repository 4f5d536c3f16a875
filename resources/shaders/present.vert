#version 450

layout(location = 0) out vec2 v_uv;

layout(std140, binding = 0) uniform Params {
    uint tonemapMode;
    uint flipY;
    float exposure;
    uint checkerEnabled;
    vec4 checkerA;
    vec4 checkerB;
    vec2 checkerPan;
    float checkerTile;
    float checkerZoom;
};

out gl_PerVertex { vec4 gl_Position; };

// One triangle that covers the target: its corners follow from their index.
void main()
{
    vec2 corner = vec2((gl_VertexIndex << 1) & 2, gl_VertexIndex & 2);
    v_uv = flipY != 0u ? vec2(corner.x, 1.0 - corner.y) : corner;
    gl_Position = vec4(corner * 2.0 - 1.0, 0.0, 1.0);
}
