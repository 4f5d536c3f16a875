#pragma once

#include <QMatrix4x4>
#include <QVector3D>
#include <QVector4D>

#include <algorithm>
#include <array>

/// Members of uniform blocks of the layout std140, as they lie in memory.
namespace corvane::rendering::Std140 {

using Vector = std::array<float, 4>;
using Matrix = std::array<float, 16>; ///< column-major

inline Matrix matrix(const QMatrix4x4 &values)
{
    Matrix laid;
    std::copy_n(values.constData(), laid.size(), laid.begin());
    return laid;
}

inline Vector vector(const QVector4D &values)
{
    return {values.x(), values.y(), values.z(), values.w()};
}

inline Vector vector(const QVector3D &xyz, float w)
{
    return {xyz.x(), xyz.y(), xyz.z(), w};
}

} // namespace corvane::rendering::Std140
