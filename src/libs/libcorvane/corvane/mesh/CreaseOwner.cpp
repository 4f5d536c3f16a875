#include "CreaseOwner.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace corvane::mesh {

namespace {

float distanceToCell(const GridCell &cell, const QVector3D &point)
{
    const QVector3D low = cell.corner(0);
    const QVector3D high = cell.corner(7);
    QVector3D away;
    for (int axis = 0; axis < 3; ++axis)
        away[axis] = std::max({low[axis] - point[axis], point[axis] - high[axis], 0.0f});
    return away.length();
}

// The slabs of the three axes cut the line into spans; it passes through the cell if they have a
// piece in common.
bool linePassesThrough(const GridCell &cell, const QVector3D &point, const QVector3D &direction)
{
    const QVector3D low = cell.corner(0);
    const QVector3D high = cell.corner(7);
    float enter = -std::numeric_limits<float>::infinity();
    float leave = std::numeric_limits<float>::infinity();
    for (int axis = 0; axis < 3; ++axis) {
        const float step = direction[axis];
        const float below = low[axis] - point[axis];
        const float above = high[axis] - point[axis];
        if (step == 0.0f) {
            if (below > 0.0f || above < 0.0f)
                return false;
            continue;
        }
        enter = std::max(enter, std::min(below / step, above / step));
        leave = std::min(leave, std::max(below / step, above / step));
    }
    return enter <= leave;
}

// Along the crease; zero for a corner.
QVector3D directionOf(const CreaseCandidate &candidate)
{
    return candidate.count == 2
               ? QVector3D::crossProduct(candidate.sheets[0].normal, candidate.sheets[1].normal)
               : QVector3D();
}

std::vector<GridCell> holderOf(const CreaseCandidate &candidate)
{
    return {candidate.region->cell.at(candidate.point)};
}

// The cells that come before the candidate's own if they are crossed.
std::vector<GridCell> rivalsOf(const CreaseCandidate &candidate)
{
    const GridCell &home = candidate.region->cell;
    const GridCell holder = home.at(candidate.point);
    const QVector3D direction = directionOf(candidate);
    const float limit = distanceToCell(home, candidate.point);
    const auto reach = static_cast<qint64>(std::ceil(limit / home.size));
    std::vector<GridCell> rivals;
    GridCell cell = holder;
    for (qint64 z = -reach; z <= reach; ++z) {
        for (qint64 y = -reach; y <= reach; ++y) {
            for (qint64 x = -reach; x <= reach; ++x) {
                cell.index = {holder.index[0] + x, holder.index[1] + y, holder.index[2] + z};
                const float distance = distanceToCell(cell, candidate.point);
                const bool isBefore =
                    distance < limit || (distance == limit && cell.index < home.index);
                if (isBefore &&
                    (direction.isNull() || !linePassesThrough(cell, candidate.point, direction)))
                    rivals.push_back(cell);
            }
        }
    }
    return rivals;
}

// Candidates for which one of their cells is crossed are not found.
void dropIfCrossed(std::vector<CreaseCandidate *> &candidates,
                   std::vector<GridCell> (*cellsOf)(const CreaseCandidate &),
                   const CrossingRule &rule)
{
    constexpr size_t corners = 8;
    std::vector<QVector3D> nodes;
    std::vector<size_t> ends;
    for (const CreaseCandidate *candidate : candidates) {
        for (const GridCell &cell : cellsOf(*candidate))
            for (size_t corner = 0; corner < corners; ++corner)
                nodes.push_back(cell.corner(int(corner)));
        ends.push_back(nodes.size());
    }
    std::vector<float> distances(nodes.size());
    rule.field(nodes, distances);
    size_t node = 0;
    size_t next = 0;
    std::erase_if(candidates, [&](CreaseCandidate *candidate) {
        for (const size_t end = ends[next++]; node < end; node += corners) {
            const auto first = distances.begin() + qsizetype(node);
            const auto inside = std::count_if(first, first + corners,
                                              [&](float value) { return value - rule.iso < 0.0f; });
            candidate->found = candidate->found && (inside == 0 || inside == qsizetype(corners));
        }
        return !candidate->found;
    });
}

} // namespace

void keepOwnCreases(std::span<CreaseCandidate> candidates, const CrossingRule &rule)
{
    std::vector<CreaseCandidate *> outside;
    for (CreaseCandidate &candidate : candidates) {
        const GridCell &home = candidate.region->cell;
        if (candidate.found && !candidate.isInside && home.at(candidate.point) != home)
            outside.push_back(&candidate);
    }
    // Most are stopped by the one cell that holds them.
    dropIfCrossed(outside, holderOf, rule);
    dropIfCrossed(outside, rivalsOf, rule);
}

} // namespace corvane::mesh
