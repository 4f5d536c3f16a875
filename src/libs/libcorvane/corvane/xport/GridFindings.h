#pragma once

#include <corvane/model/SceneWarning.h>

#include <QList>
#include <QVector3D>

#include <array>
#include <functional>
#include <optional>
#include <vector>

namespace corvane::xport {

/// A node of the whole grid, by its indices; compares in the order Z, Y, X.
struct GridNode
{
    qint64 z = 0, y = 0, x = 0;

    qint64 &operator[](int axis) { return axis == 0 ? x : axis == 1 ? y : z; }
    auto operator<=>(const GridNode &) const = default;
};

/// A node at which the field is shallow and folds over along an axis, as in the middle of a thin
/// wall, and also at the rims of what is not thin.
struct WallSpot
{
    quint64 rank = 0; ///< a hash of the rest: those of lowest rank are spread evenly
    GridNode node;
    int axis = 0;

    auto operator<=>(const WallSpot &) const = default;
};

/// The node of a side of the grid that lies deepest in the solid.
struct CutNode
{
    float depth = 0.0f; ///< the negated field, scene units; 0 where the side is clear of the solid
    GridNode node;
};

/// What the samples of a grid show that a mesh of its cell size does not hold faithfully. The
/// findings of pieces of a grid, merged in any order, are those of the whole grid.
struct GridFindings
{
    /// So many spots stand for all; their number bounds what it costs to measure them.
    static constexpr std::size_t mostSpots = 512;

    qint64 valueless = 0;                    ///< nodes at which the field has no value
    std::optional<GridNode> valuelessHole{}; ///< the first of those that open or dent the solid
    qint64 pieces = 0;                       ///< of the solid, apart and two nodes across at most
    std::optional<GridNode> firstPiece{};
    float smallestPiece = 0.0f;    ///< its largest extent, scene units
    std::array<CutNode, 6> cuts{}; ///< by side: high X, low X, high Y ... as bv::faceCount has them
    qint64 spots = 0;
    std::vector<WallSpot> lowestSpots{}; ///< at least the mostSpots of lowest rank, in any order

    void addValuelessHole(const GridNode &node);
    void addPiece(const GridNode &node, float extent);
    void addSpot(const GridNode &node, int axis);
    void addCut(int side, const CutNode &cut);
    void merge(const GridFindings &other);
    /// Leaves exactly the spots of lowest rank, sorted.
    void sortSpots();

private:
    void pruneSpots();
};

/// "near (1, 2, 3)", with as many digits as a person needs to find the place.
QString nearText(const QVector3D &point);

/// The largest number of two digits that is not above a positive value, as text: what a person is
/// told to use instead.
QString atMostText(float value);

/// What is to be told about holes of the field and about small pieces.
/// @param positionOf  where a node lies
QList<model::SceneWarning>
findingsWarnings(const GridFindings &findings, float cellSize,
                 const std::function<QVector3D(const GridNode &)> &positionOf);

} // namespace corvane::xport
