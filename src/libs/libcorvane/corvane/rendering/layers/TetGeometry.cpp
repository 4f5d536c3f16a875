#include <corvane/rendering/layers/TetGeometry.h>

#include <QHash>

#include <algorithm>
#include <cmath>

namespace corvane::rendering {

namespace {

using ::mesh::ElementType;
using Corners = std::array<QVector3D, 4>;

/// Three nodes of a face in ascending order: two tetrahedra that share it have the same.
struct FaceKey
{
    std::array<int, 3> nodes{};

    bool operator==(const FaceKey &) const = default;
    friend size_t qHash(const FaceKey &key, size_t seed = 0)
    {
        return qHashMulti(seed, key.nodes[0], key.nodes[1], key.nodes[2]);
    }
};

/// The faces of a tetrahedron of positive volume, counter-clockwise from outside.
constexpr std::array<std::array<int, 3>, 4> faces{{{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}}};

double volume6(const Corners &c)
{
    return double(
        QVector3D::dotProduct(QVector3D::crossProduct(c[1] - c[0], c[2] - c[0]), c[3] - c[0]));
}

/// The corners of a usable tetrahedron, turned so that its volume is positive; false for others.
bool readTet(const SurfaceMesh &mesh, qsizetype element, std::array<int, 4> &nodes,
             Corners &corners)
{
    const auto &data = mesh.elements[element];
    if (data.type != ElementType::Tetrahedron || data.nodes.size() != 4)
        return false;
    for (std::size_t i = 0; i < 4; ++i) {
        nodes[i] = data.nodes[int(i)];
        if (nodes[i] < 0 || nodes[i] >= mesh.vertices.size() || !mesh.vertices[nodes[i]].isFinite())
            return false;
        const auto &v = mesh.vertices[nodes[i]];
        corners[i] = {v.x, v.y, v.z};
    }
    const double volume = volume6(corners);
    if (volume < 0) {
        std::swap(nodes[2], nodes[3]);
        std::swap(corners[2], corners[3]);
    }
    return volume != 0 && std::isfinite(volume);
}

template<class Visitor>
void visitTets(const SurfaceMesh &mesh, const Visitor &visit)
{
    std::array<int, 4> nodes{};
    Corners corners{};
    for (qsizetype e = 0; e < mesh.elements.size(); ++e) {
        if (readTet(mesh, e, nodes, corners))
            visit(e, nodes, corners);
    }
}

FaceKey keyOf(const std::array<int, 4> &nodes, const std::array<int, 3> &face)
{
    FaceKey key;
    for (std::size_t i = 0; i < 3; ++i)
        key.nodes[i] = nodes[std::size_t(face[i])];
    std::sort(key.nodes.begin(), key.nodes.end());
    return key;
}

/// Puts points of a plane in order around their mean, counter-clockwise against the normal.
void sortAround(QList<QVector3D> &points, const QVector3D &normal)
{
    QVector3D centre;
    for (const QVector3D &point : std::as_const(points))
        centre += point / float(points.size());
    const QVector3D x = (points.constFirst() - centre).normalized();
    const QVector3D y = QVector3D::crossProduct(normal, x);
    const auto angle = [&](const QVector3D &point) {
        const QVector3D arm = point - centre;
        return std::atan2(QVector3D::dotProduct(arm, y), QVector3D::dotProduct(arm, x));
    };
    std::sort(points.begin(), points.end(),
              [&angle](const QVector3D &a, const QVector3D &b) { return angle(a) < angle(b); });
}

/// Where the plane crosses the edges of a tetrahedron: three or four points, or none.
QList<QVector3D> crossings(const Corners &corners, const std::array<float, 4> &heights)
{
    QList<QVector3D> points;
    for (std::size_t a = 0; a < 4; ++a) {
        for (std::size_t b = a + 1; b < 4; ++b) {
            if ((heights[a] > 0) != (heights[b] > 0)) {
                const float t = heights[a] / (heights[a] - heights[b]);
                points.append(corners[a] + (corners[b] - corners[a]) * t);
            }
        }
    }
    return points;
}

} // namespace

QList<TetGeometry::Face> TetGeometry::extractBoundaryFaces(const SurfaceMesh &mesh)
{
    QHash<FaceKey, int> counts;
    visitTets(mesh, [&counts](qsizetype, const auto &nodes, const Corners &) {
        for (const auto &face : faces)
            ++counts[keyOf(nodes, face)];
    });
    QList<Face> boundary;
    visitTets(mesh, [&](qsizetype element, const auto &nodes, const Corners &corners) {
        for (const auto &face : faces) {
            if (counts.value(keyOf(nodes, face)) == 1)
                boundary.append(
                    {.corners = {corners[std::size_t(face[0])], corners[std::size_t(face[1])],
                                 corners[std::size_t(face[2])]},
                     .element = element});
        }
    });
    return boundary;
}

QList<TetGeometry::Face> TetGeometry::extractCrossSectionFaces(const SurfaceMesh &mesh,
                                                               const QVector3D &point,
                                                               const QVector3D &normal)
{
    QList<Face> section;
    visitTets(mesh, [&](qsizetype element, const auto &, const Corners &corners) {
        std::array<float, 4> heights{};
        for (std::size_t i = 0; i < 4; ++i)
            heights[i] = QVector3D::dotProduct(corners[i] - point, normal);
        QList<QVector3D> points = crossings(corners, heights);
        if (points.size() < 3)
            return;
        sortAround(points, normal);
        for (qsizetype i = 2; i < points.size(); ++i)
            section.append({.corners = {points[0], points[i - 1], points[i]}, .element = element});
    });
    return section;
}

QList<float> TetGeometry::computeTetQuality(const SurfaceMesh &mesh)
{
    QList<float> quality(mesh.elements.size(), 0.0f);
    visitTets(mesh, [&quality](qsizetype element, const auto &, const Corners &corners) {
        double edges = 0;
        for (std::size_t a = 0; a < 4; ++a) {
            for (std::size_t b = a + 1; b < 4; ++b)
                edges += double((corners[a] - corners[b]).lengthSquared());
        }
        quality[element] = float(12 * std::pow(volume6(corners) / 2, 2.0 / 3.0) / edges);
    });
    return quality;
}

std::array<quint8, 4> TetGeometry::qualityColor(float quality)
{
    const float q = quality > 0.0f ? std::min(quality, 1.0f) : 0.0f;
    const auto byte = [](float value) {
        return quint8(std::clamp(value, 0.0f, 1.0f) * 255 + 0.5f);
    };
    return {byte(2.0f - 2.0f * q), byte(2.0f * q), byte(0.1f), 255};
}

} // namespace corvane::rendering
