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
// A triangle with a smaller cross product, in squared edge lengths, faces nowhere.
constexpr float thinShare = 1e-3f;
// A ring whose triangles turn less against each other is as good either way.
constexpr float plainCosine = 0.98f;

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

using Corners = std::array<QVector3D, 3>;

Corners triangleOf(const std::array<QVector3D, 4> &ring, int cut, int half)
{
    const auto first = size_t(cut);
    return half == 0 ? Corners{ring[first], ring[first + 1], ring[first + 2]}
                     : Corners{ring[first], ring[first + 2], ring[(first + 3) % 4]};
}

QVector3D crossOf(const Corners &corners)
{
    return QVector3D::crossProduct(corners[1] - corners[0], corners[2] - corners[0]);
}

// Whether both cuts of a ring are as good: it is flat, and no triangle is thin or turned.
bool isPlain(const std::array<QVector3D, 4> &ring, float edgeLength)
{
    const float leastSquared = std::pow(thinShare * edgeLength * edgeLength, 2.0f);
    const QVector3D normal =
        QVector3D::crossProduct(ring[2] - ring[0], ring[3] - ring[1]).normalized();
    for (int cut = 0; cut < 2; ++cut) {
        for (int half = 0; half < 2; ++half) {
            const QVector3D cross = crossOf(triangleOf(ring, cut, half));
            const float along = QVector3D::dotProduct(cross, normal);
            if (along <= 0.0f || cross.lengthSquared() < leastSquared ||
                along * along < plainCosine * plainCosine * cross.lengthSquared())
                return false;
        }
    }
    return true;
}

// What the cuts of one ring are judged by.
struct Cuts
{
    size_t quad = 0;
    std::array<QVector3D, 4> ring;
    std::array<int, 2> faults{};
    std::array<float, 2> off{}; ///< of the middle of the diagonal from the surface
};

class CutChoice
{
public:
    CutChoice(std::span<std::array<int, 4>> quads, std::span<const QVector3D> vertices,
              const CrossingRule &rule);
    void run();

private:
    void measureDiagonals();
    void countFaults();

    std::span<std::array<int, 4>> m_quads;
    const CrossingRule &m_rule;
    std::vector<Cuts> m_open;
};

CutChoice::CutChoice(std::span<std::array<int, 4>> quads, std::span<const QVector3D> vertices,
                     const CrossingRule &rule)
    : m_quads(quads)
    , m_rule(rule)
{
    for (size_t n = 0; n < quads.size(); ++n) {
        Cuts cuts;
        cuts.quad = n;
        for (size_t corner = 0; corner < 4; ++corner)
            cuts.ring[corner] = vertices[size_t(quads[n][corner])];
        if (!asTriangle(quads[n]) && !isPlain(cuts.ring, rule.edgeLength))
            m_open.push_back(cuts);
    }
}

void CutChoice::run()
{
    measureDiagonals();
    countFaults();
    for (const Cuts &cuts : m_open) {
        const bool other = cuts.faults[0] != cuts.faults[1] ? cuts.faults[1] < cuts.faults[0]
                                                            : cuts.off[1] < cuts.off[0];
        auto &ring = m_quads[cuts.quad];
        if (other)
            std::rotate(ring.begin(), ring.begin() + 1, ring.end());
    }
}

void CutChoice::measureDiagonals()
{
    std::vector<QVector3D> middles;
    for (const Cuts &cuts : m_open) {
        middles.push_back((cuts.ring[0] + cuts.ring[2]) * 0.5f);
        middles.push_back((cuts.ring[1] + cuts.ring[3]) * 0.5f);
    }
    std::vector<float> distances(middles.size());
    m_rule.field(middles, distances);
    for (size_t n = 0; n < m_open.size(); ++n) {
        for (size_t cut = 0; cut < 2; ++cut)
            m_open[n].off[cut] = std::fabs(distances[2 * n + cut] - m_rule.iso);
    }
}

void CutChoice::countFaults()
{
    std::vector<QVector3D> centres;
    for (const Cuts &cuts : m_open) {
        for (int n = 0; n < 4; ++n) {
            const Corners corners = triangleOf(cuts.ring, n / 2, n % 2);
            centres.push_back((corners[0] + corners[1] + corners[2]) / 3.0f);
        }
    }
    std::vector<QVector3D> gradients(centres.size());
    m_rule.gradient(centres, gradients);
    const float least = thinShare * m_rule.edgeLength * m_rule.edgeLength;
    auto gradient = gradients.cbegin();
    for (Cuts &cuts : m_open) {
        for (int n = 0; n < 4; ++n, ++gradient) {
            const QVector3D cross = crossOf(triangleOf(cuts.ring, n / 2, n % 2));
            const bool isFault =
                cross.length() < least || QVector3D::dotProduct(cross, *gradient) <= 0.0f;
            cuts.faults[size_t(n / 2)] += isFault ? 1 : 0;
        }
    }
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

void chooseDiagonals(std::span<std::array<int, 4>> quads, std::span<const QVector3D> vertices,
                     const CrossingRule &rule)
{
    constexpr size_t batchSize = 1024;
    for (size_t first = 0; rule.field && first < quads.size(); first += batchSize)
        CutChoice(quads.subspan(first, std::min(batchSize, quads.size() - first)), vertices, rule)
            .run();
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
