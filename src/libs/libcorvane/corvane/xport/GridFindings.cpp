#include <corvane/xport/GridFindings.h>

#include <algorithm>
#include <cmath>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

/// The finalizer of SplitMix64 (Steele, Lea and Flood 2014) over all that makes a spot.
quint64 rankOf(const GridNode &node, int axis)
{
    quint64 bits = quint64(axis);
    for (const qint64 index : {node.x, node.y, node.z}) {
        bits += quint64(index) + 0x9E3779B97F4A7C15;
        bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
        bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
        bits ^= bits >> 31;
    }
    return bits;
}

void keepFirst(std::optional<GridNode> &first, const std::optional<GridNode> &other)
{
    if (other && (!first || *other < *first))
        first = other;
}

} // namespace

void GridFindings::addValuelessHole(const GridNode &node)
{
    keepFirst(valuelessHole, node);
}

void GridFindings::addPiece(const GridNode &node, float extent)
{
    smallestPiece = pieces == 0 ? extent : std::min(smallestPiece, extent);
    ++pieces;
    keepFirst(firstPiece, node);
}

void GridFindings::addSpot(const GridNode &node, int axis)
{
    ++spots;
    lowestSpots.push_back({rankOf(node, axis), node, axis});
    if (lowestSpots.size() >= 4 * mostSpots)
        pruneSpots();
}

void GridFindings::addCut(int side, const CutNode &cut)
{
    CutNode &deepest = cuts[static_cast<std::size_t>(side)];
    if (cut.depth > deepest.depth || (cut.depth == deepest.depth && cut.node < deepest.node))
        deepest = cut;
}

void GridFindings::merge(const GridFindings &other)
{
    valueless += other.valueless;
    keepFirst(valuelessHole, other.valuelessHole);
    if (other.pieces > 0)
        smallestPiece =
            pieces == 0 ? other.smallestPiece : std::min(smallestPiece, other.smallestPiece);
    pieces += other.pieces;
    keepFirst(firstPiece, other.firstPiece);
    for (int side = 0; side < 6; ++side)
        addCut(side, other.cuts[static_cast<std::size_t>(side)]);
    spots += other.spots;
    lowestSpots.insert(lowestSpots.end(), other.lowestSpots.begin(), other.lowestSpots.end());
    pruneSpots();
}

void GridFindings::sortSpots()
{
    pruneSpots();
    std::ranges::sort(lowestSpots);
}

void GridFindings::pruneSpots()
{
    if (lowestSpots.size() <= mostSpots)
        return;
    std::ranges::nth_element(lowestSpots, lowestSpots.begin() + mostSpots);
    lowestSpots.resize(mostSpots);
}

QString nearText(const QVector3D &point)
{
    const auto text = [&point](int axis) { return QString::number(point[axis], 'g', 4); };
    return u"near (%1, %2, %3)"_s.arg(text(0), text(1), text(2));
}

QString atMostText(float value)
{
    const double unit = std::pow(10.0, std::floor(std::log10(double(value))) - 1.0);
    return QString::number(std::floor(double(value) / unit * (1.0 + 2e-3)) * unit, 'g', 2);
}

QList<model::SceneWarning>
findingsWarnings(const GridFindings &findings, float cellSize,
                 const std::function<QVector3D(const GridNode &)> &positionOf)
{
    QList<model::SceneWarning> warnings;
    if (findings.valuelessHole)
        warnings.append({.where = u"mesh, "_s + nearText(positionOf(*findings.valuelessHole)),
                         .what = u"the field has no value at %1 of the sampled points, which are "
                                 "taken as outside"_s.arg(findings.valueless),
                         .remedy = u"Keep the definitions from dividing by zero and from roots "
                                   "and logarithms of negative numbers"_s});
    if (findings.pieces > 0)
        warnings.append(
            {.where = u"mesh, "_s + nearText(positionOf(*findings.firstPiece)),
             .what = findings.pieces == 1
                         ? u"a piece is smaller than two cells of %1"_s.arg(cellSize)
                         : u"%1 pieces are smaller than two cells of %2"_s.arg(
                               QString::number(findings.pieces), QString::number(cellSize)),
             .remedy = u"Use a cellSize of at most %1, or remove %2 from the scene"_s.arg(
                 atMostText(findings.smallestPiece / 2.0f),
                 findings.pieces == 1 ? u"it"_s : u"them"_s)});
    return warnings;
}

} // namespace corvane::xport
