#include <corvane/xport/WallCheck.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

// Each spot is asked in three rounds, all spots together, since the field is fastest in blocks:
// gradients on both sides of it along its axis, which must be nearly opposite and give the
// direction across the wall; distances along that line, from whose signs follow the two surfaces;
// gradients at these, which must be opposite. A wall between two samples shows by the two straight
// slopes that lead into it: they are extended to where they cross zero.

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

constexpr float sideStep = 0.75f; // cells
constexpr int samplesPerCell = 8; // of a line
constexpr int reach = 18;         // samples to each side: a little more than two cells
constexpr int lineLength = 2 * reach + 1;
constexpr float thinWall = 1.99f;  // cells; rounding must not make two cells thin
constexpr float leastWall = 1e-3f; // cells; less is a face that touches another, by rounding

/// Cosines between the outward normals of the two sides. Near the spot a curved wall may turn.
constexpr float roughlyOpposite = -0.866f; // 30 degrees
constexpr float opposite = -0.9976f;       // 4 degrees

/// A wall of fewer spots is a pin, a tip, or an accident.
constexpr double leastSpots = 24.0;
constexpr std::size_t leastWalls = 3;

/// 0 for what has no direction.
QVector3D unit(const QVector3D &v)
{
    const float length = v.length();
    return length > 1e-6f && std::isfinite(length) ? v / length : QVector3D();
}

} // namespace

WallCheck::WallCheck(eval::IFieldEvaluator &field, float cellSize,
                     std::function<QVector3D(const GridNode &)> positionOf)
    : m_field(field)
    , m_cellSize(cellSize)
    , m_positionOf(std::move(positionOf))
{}

std::optional<model::SceneWarning> WallCheck::check(GridFindings findings)
{
    if (findings.spots < leastSpots)
        return std::nullopt;
    findings.sortSpots();
    std::vector<Wall> walls = wallsOn(linesAcross(findings.lowestSpots));
    const double share = double(walls.size()) / double(findings.lowestSpots.size());
    if (walls.size() < leastWalls || share * double(findings.spots) < leastSpots)
        return std::nullopt;
    return warningOf(walls);
}

/// Tells of a thin place, though not of the very thinnest: that may be where the wall ends.
model::SceneWarning WallCheck::warningOf(std::vector<Wall> &walls) const
{
    const auto thin = walls.begin() + std::ptrdiff_t(walls.size() / 20);
    std::ranges::nth_element(walls, thin, {}, &Wall::thickness);
    return {.where = u"mesh, "_s + nearText(thin->place),
            .what = u"walls down to %1 are thinner than two cells of %2"_s.arg(
                QString::number(thin->thickness, 'g', 2), QString::number(m_cellSize)),
            .remedy = u"Use a cellSize of at most %1, or thicker walls"_s.arg(
                atMostText(thin->thickness / 2.0f))};
}

std::vector<WallCheck::Line> WallCheck::linesAcross(const std::vector<WallSpot> &spots)
{
    std::vector<QVector3D> points;
    for (const WallSpot &spot : spots) {
        const QVector3D middle = m_positionOf(spot.node);
        QVector3D side;
        side[spot.axis] = sideStep * m_cellSize;
        points.insert(points.end(), {middle - side, middle + side});
    }
    const std::vector<QVector3D> gradients = gradientsAt(points);
    std::vector<Line> lines;
    for (std::size_t n = 0; n < spots.size(); ++n) {
        const QVector3D below = unit(gradients[2 * n]), above = unit(gradients[2 * n + 1]);
        if (QVector3D::dotProduct(below, above) < roughlyOpposite)
            lines.push_back({m_positionOf(spots[n].node), unit(above - below)});
    }
    return lines;
}

std::vector<WallCheck::Wall> WallCheck::wallsOn(const std::vector<Line> &lines)
{
    const float step = m_cellSize / samplesPerCell;
    std::vector<QVector3D> points;
    for (const Line &line : lines) {
        for (int n = -reach; n <= reach; ++n)
            points.push_back(line.middle + line.direction * (step * float(n)));
    }
    const std::vector<float> values = distancesAt(points);
    std::vector<Wall> found;
    std::vector<QVector3D> ends;
    for (std::size_t n = 0; n < lines.size(); ++n) {
        const auto solid = solidOn(lines[n], values.data() + n * lineLength);
        if (!solid)
            continue;
        const auto at = [&](float place) { return lines[n].middle + lines[n].direction * place; };
        found.push_back({solid->second - solid->first, at((solid->first + solid->second) / 2.0f)});
        ends.insert(ends.end(), {at(solid->first), at(solid->second)});
    }
    const std::vector<QVector3D> normals = gradientsAt(ends);
    std::vector<Wall> walls;
    for (std::size_t n = 0; n < found.size(); ++n) {
        if (QVector3D::dotProduct(unit(normals[2 * n]), unit(normals[2 * n + 1])) < opposite)
            walls.push_back(found[n]);
    }
    return walls;
}

/// Where the solid next to the middle of a line begins and ends, along it; nothing where there is
/// none, or one that is not thin.
std::optional<std::pair<float, float>> WallCheck::solidOn(const Line &line, const float *values)
{
    const float step = m_cellSize / samplesPerCell;
    const float *const deepest =
        std::min_element(values + reach - samplesPerCell, values + reach + samplesPerCell + 1);
    const float *const lasts[2] = {values, values + lineLength - 1};
    const float *inside[2] = {deepest, deepest};
    for (const int side : {-1, 1}) {
        const float *&at = inside[side < 0 ? 0 : 1];
        while (at != lasts[side < 0 ? 0 : 1] && at[side] < 0.0f)
            at += side;
    }
    // Through the surface, or where the wall has few samples the slope that leads into it.
    const int ahead = inside[1] - inside[0] < 2 ? 1 : 0;
    std::array<float, 2> ends{};
    for (const int side : {-1, 1}) {
        const float *const last = lasts[side < 0 ? 0 : 1];
        const float *const at = inside[side < 0 ? 0 : 1];
        if (at == last || at + side * ahead == last)
            return std::nullopt;
        const float *const from = at + side * ahead;
        const float slope = from[side] - *from;
        if (!(slope > 0.0f))
            return std::nullopt;
        ends[side < 0 ? 0 : 1] =
            step * (float(from - values) - float(reach) - float(side) * *from / slope);
    }
    const float thickness = ends[1] - ends[0];
    if (!(thickness > leastWall * m_cellSize && thickness < thinWall * m_cellSize))
        return std::nullopt;
    const float middle = (ends[0] + ends[1]) / 2.0f;
    if (!(distancesAt({line.middle + line.direction * middle}).front() < 0.0f))
        return std::nullopt;
    return std::pair(ends[0], ends[1]);
}

std::vector<float> WallCheck::distancesAt(const std::vector<QVector3D> &points)
{
    std::array<std::vector<float>, 3> places;
    for (const QVector3D &point : points) {
        for (int axis = 0; axis < 3; ++axis)
            places[static_cast<std::size_t>(axis)].push_back(point[axis]);
    }
    std::vector<float> values(points.size());
    m_field.evaluatePoints(places[0], places[1], places[2], values);
    return values;
}

/// By central differences whose step follows the cell size, as the walls do.
std::vector<QVector3D> WallCheck::gradientsAt(const std::vector<QVector3D> &points)
{
    const float step = 0.02f * m_cellSize;
    std::vector<QVector3D> around;
    for (const QVector3D &point : points) {
        for (int axis = 0; axis < 3; ++axis) {
            QVector3D offset;
            offset[axis] = step;
            around.insert(around.end(), {point - offset, point + offset});
        }
    }
    const std::vector<float> values = distancesAt(around);
    std::vector<QVector3D> gradients;
    for (std::size_t n = 0; n < values.size(); n += 6)
        gradients.push_back({values[n + 1] - values[n], values[n + 3] - values[n + 2],
                             values[n + 5] - values[n + 4]});
    return gradients;
}

} // namespace corvane::xport
