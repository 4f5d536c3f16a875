#include "FoldedRings.h"

namespace corvane::mesh {

namespace {

// A triangle with a smaller cross product, in squared edge lengths, faces nowhere.
constexpr float thinShare = 1e-3f;
// A triangle may stand across the field: a chord of a rim does.
constexpr float turnedCosine = -0.1f;

using Ring = std::array<QVector3D, 4>;

// Those of one diagonal, then those of the other.
constexpr std::size_t cuts[4][3] = {{0, 1, 2}, {0, 2, 3}, {1, 2, 3}, {1, 3, 0}};

QVector3D crossOf(const Ring &ring, std::size_t cut)
{
    const auto [a, b, c] = cuts[cut];
    return QVector3D::crossProduct(ring[b] - ring[a], ring[c] - ring[a]);
}

Ring placesOf(const std::array<int, 4> &ring, std::span<const QVector3D> vertices)
{
    Ring places;
    for (std::size_t n = 0; n < 4; ++n)
        places[n] = vertices[static_cast<std::size_t>(ring[n])];
    return places;
}

std::vector<QVector3D> gradientsAt(const std::vector<QVector3D> &points, const CrossingRule &rule)
{
    std::vector<QVector3D> gradients(points.size());
    rule.gradient(points, gradients);
    return gradients;
}

// The rings of which a triangle faces against the field at the middle of the ring.
std::vector<std::size_t> doubtfulRings(std::span<const std::array<int, 4>> rings,
                                       std::span<const QVector3D> vertices,
                                       const CrossingRule &rule)
{
    std::vector<QVector3D> middles;
    for (const auto &ring : rings) {
        const Ring at = placesOf(ring, vertices);
        middles.push_back((at[0] + at[1] + at[2] + at[3]) * 0.25f);
    }
    const std::vector<QVector3D> gradients = gradientsAt(middles, rule);
    std::vector<std::size_t> doubtful;
    for (std::size_t n = 0; n < rings.size(); ++n) {
        const Ring at = placesOf(rings[n], vertices);
        for (std::size_t cut = 0; cut < 4; ++cut) {
            if (QVector3D::dotProduct(crossOf(at, cut), gradients[n]) < 0.0f) {
                doubtful.push_back(n);
                break;
            }
        }
    }
    return doubtful;
}

} // namespace

std::vector<std::size_t> foldedRings(std::span<const std::array<int, 4>> rings,
                                     std::span<const QVector3D> vertices, const CrossingRule &rule)
{
    std::vector<std::size_t> folded = doubtfulRings(rings, vertices, rule);
    std::vector<QVector3D> centres;
    for (const std::size_t n : folded) {
        const Ring at = placesOf(rings[n], vertices);
        for (const auto &[a, b, c] : cuts)
            centres.push_back((at[a] + at[b] + at[c]) / 3.0f);
    }
    const std::vector<QVector3D> gradients = gradientsAt(centres, rule);
    const float least = thinShare * rule.edgeLength * rule.edgeLength;
    std::size_t next = 0;
    std::erase_if(folded, [&](std::size_t n) {
        const Ring at = placesOf(rings[n], vertices);
        std::array<bool, 4> isTurned{};
        for (std::size_t cut = 0; cut < 4; ++cut) {
            const QVector3D cross = crossOf(at, cut);
            const QVector3D &gradient = gradients[next++];
            isTurned[cut] =
                cross.length() >= least && QVector3D::dotProduct(cross, gradient) <
                                               turnedCosine * cross.length() * gradient.length();
        }
        return !(isTurned[0] || isTurned[1]) || !(isTurned[2] || isTurned[3]);
    });
    return folded;
}

} // namespace corvane::mesh
