#pragma once

#include <mesh/Mesh.h>

namespace mesh::io {

/// What a mesh has of one material, as a mesh of its own, with the material's properties.
struct MaterialMeshPart
{
    Mesh<float> mesh;
    QString name;       ///< of the material; "material_%1" with its number when it has none
    int materialId = 0; ///< the number in the mesh that it was cut from
    float albedoR = 0.8f, albedoG = 0.8f, albedoB = 0.8f;
    float metallic = 0.0f;
    float roughness = 0.5f;
};

/// Cuts a mesh into one part for each material that its elements have, by ascending number. Parts
/// have only the vertices that they use, with their normals and attributes; elements keep their
/// type, order and attributes. Names and properties come from the metadata "materials". A mesh
/// without elements has no parts.
QList<MaterialMeshPart> splitByMaterial(const Mesh<float> &mesh);

} // namespace mesh::io
