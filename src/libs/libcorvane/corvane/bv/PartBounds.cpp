#include <corvane/bv/PartBounds.h>

#include <corvane/bv/BoundsProof.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::bv {

namespace {

// How much larger than what was probed and requested together a proved box may be that does not
// end at the part: a proof that came to its end, in length, and one that ran out of its budget, in
// volume. A larger box would cost more time than the mesh is worth.
constexpr float acceptedLength = 3.0f;
constexpr float acceptedVolume = 4.0f;

BoundingVolume cube(float radius)
{
    return {{-radius, -radius, -radius}, {radius, radius, radius}};
}

BoundingVolume surroundings(const BoundingVolume &box)
{
    const float side = box.longestSide();
    return box.grownBy({side, side, side});
}

/// Of what was probed, that which surely is no mistake of the probes.
BoundingVolume heartOf(const BoundingVolume &box)
{
    return box.isEmpty() ? box : box.grownBy(-0.2f * box.extent());
}

float volumeOf(const BoundingVolume &box)
{
    const QVector3D sides = box.isEmpty() ? QVector3D() : box.extent();
    return sides.x() * sides.y() * sides.z();
}

/// Whether a side is that of the region, where nothing was proved.
bool isAtEnd(const BoundingVolume &box, const BoundingVolume &region, int face)
{
    const int axis = face / 2;
    const bool isPositive = face % 2 == 0;
    return box.face(axis, isPositive) == region.face(axis, isPositive);
}

/// @param guess  what was probed and what was requested
/// @param open   sides of a region beyond which nothing was proved
bool isGood(const BoundsProof::Result &proof, const BoundingVolume &guess,
            const BoundingVolume &open)
{
    for (int face = 0; face < faceCount; ++face) {
        if (isAtEnd(proof.box, open, face))
            return false;
    }
    const bool endsAtPart = std::ranges::find(proof.isTight, false) == proof.isTight.end();
    const bool isNear = proof.box.longestSide() <= acceptedLength * guess.longestSide();
    return (proof.isFinished && (endsAtPart || isNear)) ||
           volumeOf(proof.box) <= acceptedVolume * volumeOf(guess);
}

/// Looks for the box of one part.
class PartSearch
{
public:
    PartSearch(FieldIntervals &field, const BoundsDetectionResult &probed,
               const PartBoundsRequest &request)
        : m_field(field)
        , m_request(request)
        , m_range(cube(request.searchRadius))
        , m_found(probed.success ? probed.bounds : BoundingVolume())
        , m_isEndless(probed.hasUnboundedAxes())
        , m_known(m_isEndless ? BoundingVolume() : heartOf(m_found))
        , m_error(probed.success ? probed.unboundedDescription() : probed.error)
    {}

    PartBounds run()
    {
        const BoundsProof::Result far = proved(m_range, m_request.budget / 4);
        if (far.box.isEmpty())
            return {PartBounds::Kind::Nothing, m_request.requested,
                    u"No geometry found within search radius"_s};
        BoundingVolume open; // sides of it that the second proof must leave behind
        const BoundingVolume region = regionFor(far, open);
        const BoundsProof::Result near = proved(region, m_request.budget);
        if (!near.box.isEmpty() && isGood(near, m_found.united(m_request.requested), open))
            return {PartBounds::Kind::Proved, near.box};
        if (m_found.isEmpty() || m_isEndless)
            return {m_isEndless ? PartBounds::Kind::Endless : PartBounds::Kind::Nothing,
                    m_request.requested, m_error};
        return {PartBounds::Kind::Probed, m_found.united(m_request.requested).intersected(far.box)};
    }

private:
    BoundsProof::Result proved(const BoundingVolume &region, long long budget)
    {
        return BoundsProof(m_field, {.region = region,
                                     .known = m_known,
                                     .tolerance = 2.0f * m_request.cellSize,
                                     .budget = budget})
            .run();
    }

    /// Each side where the far proof ended at the solid, or nearer than the surroundings do; the
    /// surroundings' where it got stuck far out.
    BoundingVolume regionFor(const BoundsProof::Result &far, BoundingVolume &open) const
    {
        BoundingVolume region = far.box;
        open = m_range;
        if (m_found.isEmpty() || m_isEndless)
            return region;
        const BoundingVolume around = surroundings(m_found.united(m_request.requested));
        for (int face = 0; face < faceCount; ++face) {
            const int axis = face / 2;
            const bool isPositive = face % 2 == 0;
            const float own = far.box.face(axis, isPositive);
            const float other = around.face(axis, isPositive);
            const bool isBeyond = isPositive ? own > other : own < other;
            if (far.isTight[size_t(face)] || !isBeyond)
                continue;
            region.setFace(axis, isPositive, other);
            open.setFace(axis, isPositive, other);
        }
        return region;
    }

    FieldIntervals &m_field;
    const PartBoundsRequest &m_request;
    const BoundingVolume m_range;
    const BoundingVolume m_found;
    const bool m_isEndless;
    const BoundingVolume m_known;
    const QString m_error;
};

} // namespace

PartBounds findPartBounds(FieldIntervals &field, const BoundsDetectionResult &probed,
                          const PartBoundsRequest &request)
{
    return PartSearch(field, probed, request).run();
}

} // namespace corvane::bv
