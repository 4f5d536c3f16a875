#include <corvane/bv/PartBounds.h>

#include <corvane/bv/BoundsProof.h>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::bv {

namespace {

// A box that is this much longer than what was probed needs better reasons than a proof that got
// stuck.
constexpr float acceptedGrowth = 0.15f;

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

/// Whether a side of a proved box is where the part ends, not only where the proof did.
bool isGoodSide(const BoundsProof::Result &proof, const BoundingVolume &probed, int face)
{
    if (proof.isTight[size_t(face)])
        return true;
    const int axis = face / 2;
    const bool isPositive = face % 2 == 0;
    const float beyond = isPositive ? proof.box.face(axis, true) - probed.face(axis, true)
                                    : probed.face(axis, false) - proof.box.face(axis, false);
    return !probed.isEmpty() && beyond <= acceptedGrowth * probed.longestSide();
}

/// Whether a side is that of the region, where nothing was proved.
bool isAtEnd(const BoundingVolume &box, const BoundingVolume &region, int face)
{
    const int axis = face / 2;
    const bool isPositive = face % 2 == 0;
    return box.face(axis, isPositive) == region.face(axis, isPositive);
}

bool isGood(const BoundsProof::Result &proof, const BoundingVolume &probed,
            const BoundingVolume &range)
{
    for (int face = 0; face < faceCount; ++face) {
        if (!isGoodSide(proof, probed, face) || isAtEnd(proof.box, range, face))
            return false;
    }
    return true;
}

} // namespace

PartBounds findPartBounds(FieldIntervals &field, const BoundsDetectionResult &probed,
                          const PartBoundsRequest &request)
{
    const BoundingVolume range = cube(request.searchRadius);
    const BoundingVolume found = probed.success ? probed.bounds : BoundingVolume();
    const auto proved = [&](const BoundingVolume &region, const BoundingVolume &known,
                            long long budget) {
        return BoundsProof(field, {.region = region,
                                   .known = known,
                                   .tolerance = 2.0f * request.cellSize,
                                   .budget = budget})
            .run();
    };
    const bool isEndless = probed.hasUnboundedAxes();
    const BoundsProof::Result far =
        proved(range, isEndless ? BoundingVolume() : heartOf(found), request.budget / 4);
    if (far.box.isEmpty())
        return {PartBounds::Kind::Nothing, request.requested,
                u"No geometry found within search radius"_s};
    const BoundingVolume start =
        found.isEmpty() || isEndless ? far.box : surroundings(found.united(request.requested));
    const BoundingVolume region = start.intersected(far.box);
    if (region.isEmpty())
        return {PartBounds::Kind::Proved, far.box};
    const BoundsProof::Result near =
        proved(region, isEndless ? BoundingVolume() : heartOf(found), request.budget);
    // Where the far box is the nearer one, its side is proved.
    BoundingVolume unproved = start;
    for (int face = 0; face < faceCount; ++face) {
        if (!isAtEnd(far.box, range, face) && isAtEnd(region, far.box, face))
            unproved.setFace(face / 2, face % 2 == 0,
                             (face % 2 == 0 ? 2.0f : -2.0f) * request.searchRadius);
    }
    if (!near.box.isEmpty() && isGood(near, found, unproved))
        return {PartBounds::Kind::Proved, near.box};
    if (!probed.success)
        return {PartBounds::Kind::Nothing, request.requested, probed.error};
    if (isEndless)
        return {PartBounds::Kind::Endless, request.requested, probed.unboundedDescription()};
    return {PartBounds::Kind::Probed, found.united(request.requested).intersected(far.box)};
}

} // namespace corvane::bv
