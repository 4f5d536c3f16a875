#include "QuadTriangles.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace corvane::mesh {

namespace {

constexpr float degenerateCross = 1e-20f;
// A triangle with a smaller one may be gone in a file, or welded to a line.
constexpr float smallestSafeCross = 1e-9f;

float crossLength(const QVector3D &a, const QVector3D &b, const QVector3D &c)
{
    return QVector3D::crossProduct(b - a, c - a).length();
}

void emitTriangle(QList<Triangle> &out, const QVector3D &a, const QVector3D &b, const QVector3D &c)
{
    const QVector3D cross = QVector3D::crossProduct(b - a, c - a);
    const float length = cross.length();
    if (length >= degenerateCross)
        out.append({{a, b, c}, cross / length});
}

// The three vertices of a ring that names one of its four twice.
std::optional<std::array<int, 3>> asTriangle(const std::array<int, 4> &ring)
{
    for (std::size_t n = 0; n < 4; ++n) {
        if (ring[n] == ring[(n + 1) % 4])
            return std::array{ring[n], ring[(n + 2) % 4], ring[(n + 3) % 4]};
    }
    return std::nullopt;
}

float unitInLastPlace(const QVector3D &point)
{
    const float largest =
        std::max({std::fabs(point.x()), std::fabs(point.y()), std::fabs(point.z())});
    return std::nextafter(largest, std::numeric_limits<float>::max()) - largest;
}

void moveOffLine(const std::array<int, 3> &corners, std::vector<QVector3D> &vertices)
{
    const auto at = [&](std::size_t n) -> QVector3D & {
        return vertices[static_cast<std::size_t>(corners[n % 3])];
    };
    std::size_t middle = 0;
    for (std::size_t n = 1; n < 3; ++n) {
        if ((at(n + 1) - at(n + 2)).length() > (at(middle + 1) - at(middle + 2)).length())
            middle = n;
    }
    const QVector3D line = at(middle + 2) - at(middle + 1);
    int across = 0;
    for (int axis = 1; axis < 3; ++axis) {
        if (std::fabs(line[axis]) < std::fabs(line[across]))
            across = axis;
    }
    const float length = line.length();
    const float needed = length > 0.0f ? 4.0f * smallestSafeCross / length : 0.0f;
    at(middle)[across] +=
        std::max(std::min(needed, 0.01f * length), 4.0f * unitInLastPlace(at(middle)));
}

} // namespace

void emitQuad(QList<Triangle> &out, const QVector3D &a, const QVector3D &b, const QVector3D &c,
              const QVector3D &d, bool flip)
{
    if (flip) {
        emitQuad(out, a, d, c, b, false);
        return;
    }
    const float smaller = std::min(crossLength(a, b, c), crossLength(a, c, d));
    if (smaller < smallestSafeCross &&
        smaller < std::min(crossLength(a, b, d), crossLength(b, c, d))) {
        emitTriangle(out, a, b, d);
        emitTriangle(out, b, c, d);
    } else {
        emitTriangle(out, a, b, c);
        emitTriangle(out, a, c, d);
    }
}

void emitTriangles(const std::vector<std::array<int, 4>> &quads, std::vector<QVector3D> &vertices,
                   QList<Triangle> &out)
{
    const auto at = [&vertices](int n) -> const QVector3D & {
        return vertices[static_cast<std::size_t>(n)];
    };
    for (const auto &ring : quads) {
        const auto corners = asTriangle(ring);
        if (corners && crossLength(at((*corners)[0]), at((*corners)[1]), at((*corners)[2])) <
                           smallestSafeCross)
            moveOffLine(*corners, vertices);
    }
    for (const auto &ring : quads) {
        if (const auto corners = asTriangle(ring))
            emitTriangle(out, at((*corners)[0]), at((*corners)[1]), at((*corners)[2]));
        else
            emitQuad(out, at(ring[0]), at(ring[1]), at(ring[2]), at(ring[3]), false);
    }
}

} // namespace corvane::mesh
