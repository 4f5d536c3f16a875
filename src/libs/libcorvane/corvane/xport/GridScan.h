#pragma once

#include <corvane/eval/IFieldEvaluator.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/xport/GridFindings.h>
#include <corvane/xport/GridSeal.h>

#include <array>
#include <vector>

namespace corvane::xport {

/// Looks through the samples of one chunk for what its cells are too coarse for.
///
/// A node counts for the chunk that owns it, and what is told of it depends on the field alone: at
/// nodes beyond the chunk the field is evaluated. So any division of a grid gives the same
/// findings.
class GridScan
{
public:
    /// @param samples     of the chunk, finite; farDistance is no value
    /// @param firstOwned  index in the chunk, on each axis, of the first node that it owns; the
    ///                    last plane of nodes on each axis is the next chunk's
    /// @param field       the field itself, for nodes beyond the chunk
    GridScan(const mesh::ScalarField3D &samples, int firstOwned, eval::IFieldEvaluator &field,
             const GridSeal &seal);

    /// Adds walls and pieces to the findings. About a pass over the samples.
    void run(GridFindings &findings);
    /// Adds where the solid reaches through the sides of the grid, unless it is sealed.
    /// @param last  indices of the last nodes of the whole grid
    void scanSides(const std::array<qint64, 3> &last, GridFindings &findings) const;
    /// Adds nodes without a value.
    void scanValueless(GridFindings &findings) const;

private:
    using Index = std::array<int, 3>;

    /// A spot that may be one: its neighbour on the low side is beyond the chunk.
    struct OpenSpot
    {
        Index at{};
        int axis = 0;
        float value = 0.0f, above = 0.0f;
    };

    void scanRow(int j, int k, GridFindings &findings);
    void lookAt(const Index &at, const float *node, GridFindings &findings);
    void lookAtValueless(const Index &at, GridFindings &findings) const;
    void lookForSpot(const Index &at, const float *node, std::size_t axis, GridFindings &findings);
    void scanSide(int side, int plane, GridFindings &findings) const;
    void closeSpots(GridFindings &findings);
    bool isLongRun(const Index &at, int axis) const;
    void findPiece(const Index &at, GridFindings &findings);
    float extentOf(const std::vector<Index> &piece, int axis);
    bool isOwned(const Index &at) const;
    bool isInChunk(const Index &at) const;
    float valueAt(const Index &at);
    GridNode nodeOf(const Index &at) const;
    bool foldsOver(float below, float value, float above) const;

    const mesh::ScalarField3D &m_samples;
    const Index m_counts;
    const std::array<std::ptrdiff_t, 3> m_steps;
    const int m_firstOwned;
    eval::IFieldEvaluator &m_field;
    const GridSeal &m_seal;
    std::vector<OpenSpot> m_open;
};

} // namespace corvane::xport
