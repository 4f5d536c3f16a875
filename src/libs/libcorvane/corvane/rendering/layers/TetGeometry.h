#pragma once

#include <corvane/rendering/SnapshotMeshSource.h>
#include <corvane/rendering/layers/SurfaceVertices.h>

#include <QList>
#include <QVector3D>

#include <array>

namespace corvane::rendering {

/// The faces that are to be seen of a mesh of tetrahedra. Elements of other types, with corners
/// that are no numbers or not there, or without volume take no part.
namespace TetGeometry {

/// A triangle, counter-clockwise from outside, and the tetrahedron (a row of the mesh's elements)
/// that it bounds.
struct Face
{
    std::array<QVector3D, 3> corners{};
    qsizetype element = 0;
};

/// The faces that only one tetrahedron has, in the order of the elements.
QList<Face> extractBoundaryFaces(const SurfaceMesh &mesh);

/// Where a plane cuts the tetrahedra: one or two triangles each, facing along the normal.
QList<Face> extractCrossSectionFaces(const SurfaceMesh &mesh, const QVector3D &point,
                                     const QVector3D &normal);

/// For each element from 0 (flat) to 1 (regular): the mean ratio, 12 (3 V)^(2/3) over the sum of
/// the squared edges (Liu and Joe 1994). 0 for what is no tetrahedron.
QList<float> computeTetQuality(const SurfaceMesh &mesh);

/// Red for 0 over yellow to green for 1.
std::array<quint8, 4> qualityColor(float quality);

} // namespace TetGeometry

} // namespace corvane::rendering
