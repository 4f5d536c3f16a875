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

/// Six times the signed volume: ((b - a) x (c - a)) . (d - a).
inline float signedVolume6(const QVector3D &a, const QVector3D &b, const QVector3D &c,
                           const QVector3D &d)
{
    return QVector3D::dotProduct(QVector3D::crossProduct(b - a, c - a), d - a);
}

} // namespace corvane::mesh
