#include <corvane/bv/BoundsProof.h>

#include <corvane/bv/FieldIntervals.h>

#include <algorithm>

namespace corvane::bv {

namespace {

// A slab on which more than this share of the budget went is given up.
constexpr long long slabShare = 48;
// The smallest piece of a slab, as a share of the box.
constexpr float smallestShare = 1.0f / 1024.0f;

int axisOf(int face)
{
    return face / 2;
}
bool isPositive(int face)
{
    return face % 2 == 0;
}

} // namespace

float BoundsProof::thinnest() const
{
    const QVector3D extent = m_box.extent();
    const float longest = std::max({extent.x(), extent.y(), extent.z()});
    return std::max(m_config.tolerance, shareOfExtent * longest);
}

/// How far a side can come in until it meets what is known, or the other side.
float BoundsProof::room(int face) const
{
    const int axis = axisOf(face);
    if (m_config.known.isEmpty())
        return m_box.extent()[axis];
    const float known = m_config.known.face(axis, isPositive(face));
    const float own = m_box.face(axis, isPositive(face));
    return isPositive(face) ? own - known : known - own;
}

BoundingVolume BoundsProof::slab(int face, float thickness) const
{
    BoundingVolume slab = m_box;
    const int axis = axisOf(face);
    const float own = m_box.face(axis, isPositive(face));
    slab.setFace(axis, !isPositive(face), isPositive(face) ? own - thickness : own + thickness);
    return slab;
}

/// The axes along which a piece can be halved, the one first that is longest compared with the box.
std::vector<int> BoundsProof::axesToHalve(const BoundingVolume &piece) const
{
    const QVector3D whole = m_box.extent();
    const QVector3D sides = piece.extent();
    const auto share = [&](int axis) {
        return whole[axis] > 0.0f ? sides[axis] / whole[axis] : 0.0f;
    };
    const float smallest =
        std::min(smallestShare, 0.5f * thinnest() / std::max({whole.x(), whole.y(), whole.z()}));
    std::vector<int> axes;
    for (int axis = 0; axis < 3; ++axis) {
        const float middle = piece.center()[axis];
        // Between two neighbours among the floats there is nothing.
        const bool isDivisible = middle > piece.minimum()[axis] && middle < piece.maximum()[axis];
        if (isDivisible && share(axis) > smallest)
            axes.push_back(axis);
    }
    std::ranges::stable_sort(axes, [&](int a, int b) { return share(a) > share(b); });
    return axes;
}

/// The halves along the axis that says most: some fields are cut up in vain along two of the three.
std::optional<BoundsProof::Halves> BoundsProof::bestHalves(const BoundingVolume &piece)
{
    std::optional<Halves> best;
    float bestGain = 0.0f;
    for (const int axis : axesToHalve(piece)) {
        Halves halves{{piece, piece}, {}};
        halves.boxes[0].setFace(axis, true, piece.center()[axis]);
        halves.boxes[1].setFace(axis, false, piece.center()[axis]);
        for (size_t i = 0; i < 2; ++i)
            halves.lowest[i] = m_field.lowest(halves.boxes[i]);
        const float gain = std::min(halves.lowest[0], 0.0f) + std::min(halves.lowest[1], 0.0f);
        if (!best || gain > bestGain) {
            best = halves;
            bestGain = gain;
        }
        if (halves.lowest[0] > 0.0f || halves.lowest[1] > 0.0f)
            break; // good enough: a look at the others costs as much again
    }
    return best;
}

bool BoundsProof::isNearSolid(const BoundingVolume &piece)
{
    // Intervals of a small box are a few times as wide as the box.
    return m_field.at(piece.center()) <= 4.0f * piece.extent().length();
}

bool BoundsProof::isEmpty(const BoundingVolume &slab, long long limit)
{
    if (m_field.lowest(slab) > 0.0f)
        return true;
    std::vector<BoundingVolume> open{slab};
    while (!open.empty()) {
        const BoundingVolume piece = open.back();
        open.pop_back();
        const auto halves = bestHalves(piece);
        if (!halves || m_field.steps() > limit) {
            // A piece that only the limit stopped at says nothing: it may be large.
            m_stoppedAtSolid = !halves && isNearSolid(piece);
            return false;
        }
        // The one that looks worse first: a slab that is not empty is to be found out soon.
        const size_t worse = halves->lowest[0] < halves->lowest[1] ? 0 : 1;
        for (const size_t half : {1 - worse, worse}) {
            if (!(halves->lowest[half] > 0.0f))
                open.push_back(halves->boxes[half]);
        }
    }
    return true;
}

BoundsProof::Shave BoundsProof::shave(int face)
{
    const float least = thinnest();
    const float space = room(face);
    float &thickness = m_thickness[size_t(face)];
    if (space <= least) {
        m_isTight[size_t(face)] = true;
        return Shave::Stays;
    }
    thickness = std::min(std::max(thickness, least), space);
    const long long limit = m_field.steps() + m_config.budget / slabShare;
    if (!isEmpty(slab(face, thickness), std::min(limit, m_config.budget))) {
        const bool wasThinnest = thickness <= least;
        thickness *= 0.25f;
        m_isTight[size_t(face)] = m_stoppedAtSolid;
        return wasThinnest ? Shave::Stays : shave(face);
    }
    m_isGone = thickness >= m_box.extent()[axisOf(face)];
    if (m_isGone)
        return Shave::NothingLeft;
    const BoundingVolume gone = slab(face, thickness);
    m_box.setFace(axisOf(face), isPositive(face), gone.face(axisOf(face), !isPositive(face)));
    thickness *= 2.0f;
    return Shave::Gone;
}

/// Whether any side came in.
bool BoundsProof::shaveRound()
{
    bool progress = false;
    for (int face = 0; face < faceCount && !m_isGone; ++face) {
        if (m_field.steps() > m_config.budget)
            return progress;
        progress = shave(face) == Shave::Gone || progress;
    }
    return progress;
}

BoundsProof::Result BoundsProof::run()
{
    m_config.budget += m_field.steps();
    for (int face = 0; face < faceCount; ++face)
        m_thickness[size_t(face)] = 0.5f * room(face);
    while (!m_isGone && m_field.steps() <= m_config.budget && shaveRound()) {
    }
    return {.box = m_isGone ? BoundingVolume() : m_box,
            .isFinished = m_isGone || m_field.steps() <= m_config.budget,
            .isTight = m_isTight};
}

} // namespace corvane::bv
