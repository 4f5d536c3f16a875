#include "VertexRegion.h"

#include <corvane/mesh/ScalarField3D.h>

#include <algorithm>
#include <cmath>

namespace corvane::mesh {

QVector3D GridCell::corner(int n) const
{
    QVector3D result;
    for (int axis = 0; axis < 3; ++axis)
        result[axis] = nodeCoordinate(origin[axis], size,
                                      index[static_cast<std::size_t>(axis)] + (n >> axis & 1));
    return result;
}

GridCell GridCell::at(const QVector3D &point) const
{
    GridCell result = *this;
    for (int axis = 0; axis < 3; ++axis)
        result.index[static_cast<std::size_t>(axis)] =
            static_cast<qint64>(std::floor((point[axis] - origin[axis]) / size));
    return result;
}

QVector3D VertexRegion::middle() const
{
    QVector3D sum;
    for (const HermiteSample &crossing : samples())
        sum += crossing.point;
    return count > 0 ? sum / static_cast<float>(count) : (low + high) * 0.5f;
}

QVector3D VertexRegion::clamped(const QVector3D &point) const
{
    QVector3D result;
    for (int axis = 0; axis < 3; ++axis)
        result[axis] = std::clamp(point[axis], low[axis], high[axis]);
    return result;
}

} // namespace corvane::mesh
