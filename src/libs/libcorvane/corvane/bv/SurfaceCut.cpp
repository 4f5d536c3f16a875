#include <corvane/bv/SurfaceCut.h>

#include <corvane/bv/FieldIntervals.h>

#include <algorithm>
#include <queue>

namespace corvane::bv {

using namespace Qt::StringLiterals;

namespace {

constexpr float searchLimit = 10000.0f;
constexpr int mostWalkSteps = 64;

struct Piece
{
    float lowest = 0.0f;
    int number = 0; ///< of equals the older one goes first
    BoundingVolume box;

    bool operator<(const Piece &other) const
    {
        return lowest != other.lowest ? lowest > other.lowest : number > other.number;
    }
};

BoundingVolume sideOf(const BoundingVolume &box, int face)
{
    BoundingVolume side = box;
    side.setFace(face / 2, face % 2 != 0, box.face(face / 2, face % 2 == 0));
    return side;
}

/// A point of the solid on one side of a box.
std::optional<QVector3D> pointOnSide(FieldIntervals &field, const BoundingVolume &side, float depth,
                                     long long limit)
{
    std::priority_queue<Piece> open;
    int count = 0;
    open.push({field.lowest(side), count++, side});
    while (!open.empty() && open.top().lowest < -depth && field.steps() <= limit) {
        const BoundingVolume piece = open.top().box;
        open.pop();
        const QVector3D middle = piece.center();
        if (field.at(middle) < -depth)
            return middle;
        const QVector3D sides = piece.extent();
        const int axis = sides.x() >= sides.y() && sides.x() >= sides.z() ? 0
                         : sides.y() >= sides.z()                         ? 1
                                                                          : 2;
        if (!(middle[axis] > piece.minimum()[axis] && middle[axis] < piece.maximum()[axis]))
            continue;
        for (const bool isPositive : {true, false}) {
            BoundingVolume half = piece;
            half.setFace(axis, isPositive, middle[axis]);
            open.push({field.lowest(half), count++, half});
        }
    }
    return std::nullopt;
}

/// One step outwards that stays in the solid: straight on or sideways as well.
std::optional<QVector3D> stepOut(FieldIntervals &field, const QVector3D &from, int face, float step)
{
    const int axis = face / 2;
    for (const float u : {0.0f, -1.0f, 1.0f}) {
        for (const float v : {0.0f, -1.0f, 1.0f}) {
            QVector3D to = from;
            to[axis] += face % 2 == 0 ? step : -step;
            to[(axis + 1) % 3] += u * step;
            to[(axis + 2) % 3] += v * step;
            if (field.at(to) < 0.0f)
                return to;
        }
    }
    return std::nullopt;
}

float walkedOut(FieldIntervals &field, QVector3D at, int face, float step, float shortest)
{
    for (int i = 0; i < mostWalkSteps && step >= shortest; ++i) {
        const auto next = stepOut(field, at, face, step);
        at = next.value_or(at);
        step *= next ? 1.5f : 0.5f;
        if (std::abs(at[face / 2]) >= searchLimit)
            break;
    }
    return at[face / 2];
}

QString nameOf(int face)
{
    static constexpr QChar axes[] = {u'X', u'Y', u'Z'};
    return (face % 2 == 0 ? u"max"_s : u"min"_s) + axes[face / 2];
}

QString numberText(float value)
{
    return QString::number(double(value), 'g', 4);
}

void cutAt(const QVector3D &point, int face, FieldIntervals &field, const BoundingVolume &box,
           float depth, SurfaceCut &cut)
{
    cut.isCut[size_t(face)] = true;
    cut.reach[size_t(face)] = walkedOut(field, point, face, 0.125f * box.longestSide(), depth);
}

QString endOfPart(int face, float reach, const BoundingVolume &box)
{
    if (std::abs(reach) >= searchLimit)
        return u"no end of the part is in sight"_s;
    if (numberText(reach) == numberText(box.face(face / 2, face % 2 == 0)))
        return u"the part ends there as well"_s;
    return u"the part goes on to at least %1 = %2"_s.arg(nameOf(face).back().toLower(),
                                                         numberText(reach));
}

} // namespace

bool SurfaceCut::isAny() const
{
    return std::ranges::find(isCut, true) != isCut.end();
}

SurfaceCut findSurfaceCut(FieldIntervals &field, const BoundingVolume &box, float depth,
                          long long budget)
{
    SurfaceCut cut;
    for (int face = 0; face < faceCount; ++face) {
        if (const auto point = pointOnSide(field, sideOf(box, face), depth, field.steps() + budget))
            cutAt(*point, face, field, box, depth, cut);
    }
    return cut;
}

void addToSurfaceCut(SurfaceCut &cut, FieldIntervals &field, const BoundingVolume &box, float depth,
                     const std::array<std::optional<QVector3D>, faceCount> &points)
{
    for (int face = 0; face < faceCount; ++face) {
        const auto &point = points[size_t(face)];
        if (point && !cut.isCut[size_t(face)])
            cutAt(*point, face, field, box, depth, cut);
    }
}

std::optional<model::SceneWarning> surfaceCutWarning(const SurfaceCut &cut,
                                                     const BoundingVolume &box, float margin)
{
    if (!cut.isAny())
        return std::nullopt;
    QStringList places;
    QStringList settings;
    for (int face = 0; face < faceCount; ++face) {
        if (!cut.isCut[size_t(face)])
            continue;
        const float reach = cut.reach[size_t(face)];
        const bool isEndless = std::abs(reach) >= searchLimit;
        places.append(nameOf(face) + u" (%1, the box ends at %2)"_s.arg(
                                         endOfPart(face, reach, box),
                                         numberText(box.face(face / 2, face % 2 == 0))));
        if (!isEndless)
            settings.append(u"bounds.%1 to %2"_s.arg(
                nameOf(face), numberText(face % 2 == 0 ? reach + margin : reach - margin)));
    }
    const QString remedy = settings.isEmpty()
                               ? u"Intersect the part with one that has an end, or use sealed: "
                                 u"true to close it at the "
                                 "box"_s
                               : u"Set %1 or use autoBounds: true"_s.arg(settings.join(u", "));
    return model::SceneWarning{.where = u"export box"_s,
                               .what = u"the surface is cut off at "_s + places.join(u", "),
                               .remedy = remedy};
}

} // namespace corvane::bv
