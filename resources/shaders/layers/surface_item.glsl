// One item of a layer of triangles: the block `TetUniforms`, which all of them share. std140, 256 bytes.
layout(std140, binding = 0) uniform TetUniforms {
    mat4 mvp;
    mat4 model;
    mat4 normalMatrix;
    vec4 albedo;
    float metallic;
    float roughness;
    uint itemId;
    float useVertexColor;
    vec4 cutPlane;      // xyz normal in the item's own space, w above 0.5: cut
    vec4 cutPlanePoint; // xyz a point of the plane, w the emission of the material
};
