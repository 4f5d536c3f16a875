#pragma once

#include <QVector3D>

#include <array>

namespace corvane::mesh {

/// One facet of a surface. Its corners wind so that the normal points out of the solid.
struct Triangle
{
    std::array<QVector3D, 3> vertices{};
    QVector3D normal{}; ///< of unit length

    bool operator==(const Triangle &) const = default;
};

} // namespace corvane::mesh
