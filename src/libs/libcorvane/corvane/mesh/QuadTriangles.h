#pragma once

#include <corvane/mesh/Triangle.h>

#include <QList>
#include <QVector3D>

#include <array>
#include <vector>

namespace corvane::mesh {

/// Appends a quad as the triangles (a, b, c) and (a, c, d), the other way round with `flip`. What
/// has a cross product shorter than 1e-20 is left out. Where one of the two has next to no area, as
/// three vertices on one sharp edge make it, the quad is cut by its other diagonal: to leave the
/// triangle out would open the surface.
void emitQuad(QList<Triangle> &out, const QVector3D &a, const QVector3D &b, const QVector3D &c,
              const QVector3D &d, bool flip);

/// Appends rings of four vertices; a ring that names a vertex twice is a triangle. Such a triangle
/// has no other diagonal: where its three vertices lie on one line, the middle one is moved aside,
/// by no more than it takes to give it an area.
void emitTriangles(const std::vector<std::array<int, 4>> &quads, std::vector<QVector3D> &vertices,
                   QList<Triangle> &out);

} // namespace corvane::mesh
