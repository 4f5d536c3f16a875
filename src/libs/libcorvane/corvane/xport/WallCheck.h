#pragma once

#include <corvane/eval/IFieldEvaluator.h>
#include <corvane/xport/GridFindings.h>

#include <functional>
#include <optional>

namespace corvane::xport {

/// Measures the spots at which a grid may have met a wall that is too thin for its cells, in the
/// field itself.
///
/// A wall is where the two sides of the solid are parallel: edges, wedges and crests get thin by
/// their nature, whatever the cell size, and are none.
class WallCheck
{
public:
    /// @param positionOf  where a node lies
    WallCheck(eval::IFieldEvaluator &field, float cellSize,
              std::function<QVector3D(const GridNode &)> positionOf);

    /// What to tell of walls thinner than two cells; nothing where there are none, or so few spots
    /// that they make no wall. About 50 evaluations a spot.
    std::optional<model::SceneWarning> check(GridFindings findings);

private:
    /// A line through a spot, across the wall.
    struct Line
    {
        QVector3D middle;
        QVector3D direction; ///< a unit vector
    };
    struct Wall
    {
        float thickness = 0.0f;
        QVector3D place;
    };

    std::vector<Line> linesAcross(const std::vector<WallSpot> &spots);
    std::vector<Wall> wallsOn(const std::vector<Line> &lines);
    std::optional<std::pair<float, float>> solidOn(const Line &line, const float *values);
    std::vector<QVector3D> gradientsAt(const std::vector<QVector3D> &points);
    std::vector<float> distancesAt(const std::vector<QVector3D> &points);
    model::SceneWarning warningOf(std::vector<Wall> &walls) const;

    eval::IFieldEvaluator &m_field;
    const float m_cellSize;
    std::function<QVector3D(const GridNode &)> m_positionOf;
};

} // namespace corvane::xport
