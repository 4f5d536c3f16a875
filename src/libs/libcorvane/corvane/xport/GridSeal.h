#pragma once

#include <corvane/eval/IFieldEvaluator.h>
#include <corvane/xport/ExportRequest.h>

#include <array>
#include <span>

namespace corvane::xport {

/// Closes a surface at the ends of its grid, or leaves it open where the request does not ask for
/// that.
///
/// The outermost nodes are raised until they are outside, and between nodes the field is cut off by
/// the box half a cell within the ends: dual contouring finds a flat cap with sharp edges there,
/// where the raised samples alone would leave it to guess.
class GridSeal
{
public:
    /// Leaves everything open.
    GridSeal() = default;
    /// For a request whose grid is possible.
    explicit GridSeal(const ExportRequest &request);

    bool isClosed() const { return m_closed; }
    /// Indices of the last nodes of the grid.
    const std::array<qint64, 3> &last() const { return m_last; }

    /// Raises those samples of a row along X that lie on an end of the grid, or beyond it, to at
    /// least one cell size. Indices are those of the whole grid.
    void raiseRow(std::span<float> row, qint64 firstX, qint64 y, qint64 z) const;

    /// The distance and the gradient of the field at a point, cut off by the box.
    float distance(const QVector3D &point, float own) const;
    QVector3D gradient(const QVector3D &point, const eval::DistanceGradient &own) const;

private:
    bool isEnd(int axis, qint64 index) const;
    float boxDistance(const QVector3D &point, int &axis) const;

    bool m_closed = false;
    std::array<qint64, 3> m_last{}; ///< index of the last node on each axis
    QVector3D m_centre;
    QVector3D m_half;
    float m_outside = 1.0f;
};

} // namespace corvane::xport
