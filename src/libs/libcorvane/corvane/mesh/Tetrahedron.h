#pragma once

#include <QVector3D>

#include <array>

namespace corvane::mesh {

/// Four corners of three floats, in scene units; oriented so that its signed volume is positive.
struct Tetrahedron
{
    std::array<QVector3D, 4> corners{};

    bool operator==(const Tetrahedron &) const = default;
};

/// Six times the signed volume: ((b - a) x (c - a)) . (d - a). In double precision, so that the
/// sign of a sliver does not depend on the order in which its corners are named.
inline double signedVolume6(const QVector3D &a, const QVector3D &b, const QVector3D &c,
                            const QVector3D &d)
{
    const auto side = [&a](const QVector3D &p, int axis) {
        return double(p[axis]) - double(a[axis]);
    };
    const double x = side(b, 1) * side(c, 2) - side(b, 2) * side(c, 1);
    const double y = side(b, 2) * side(c, 0) - side(b, 0) * side(c, 2);
    const double z = side(b, 0) * side(c, 1) - side(b, 1) * side(c, 0);
    return x * side(d, 0) + y * side(d, 1) + z * side(d, 2);
}

} // namespace corvane::mesh
