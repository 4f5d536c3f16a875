#pragma once

#include <mesh/Vector3.h>

#include <QList>

namespace mesh::process {

/// A surface as a renderer takes it: three vertices a triangle, nothing shared.
///
/// A vertex is eight floats: position (3), unit normal (3), texture coordinate (2; 0 without any).
struct ExpandedVertexData
{
    static constexpr int floatsPerVertex = 8;

    QList<float> vertices;
    int vertexCount = 0;
    int triangleCount = 0;
    Vector3<float>
        boundsMin{}; ///< the box around all vertices, 1.1 times as large about its centre
    Vector3<float> boundsMax{};

    bool isValid() const { return vertexCount > 0; }
    bool operator==(const ExpandedVertexData &) const = default;
};

} // namespace mesh::process
