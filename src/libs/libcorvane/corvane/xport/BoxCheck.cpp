#include <corvane/xport/BoxCheck.h>

#include <corvane/eval/FieldCompiler.h>
#include <corvane/xport/ExportGrid.h>

namespace corvane::xport {

namespace {

// A surface that reaches no deeper into the box's side than this share of a cell is not cut: parts
// are often made exactly as large as their box.
constexpr float depthShare = 0.02f;
constexpr float marginShare = 0.02f;

/// Instructions for each side of the box: a point of the grid in a vector loop costs a fiftieth of
/// one in intervals, and there are six sides.
long long budgetFor(const ExportRequest &request)
{
    double cells = 1.0;
    for (int axis = 0; axis < 3; ++axis)
        cells *=
            double(request.boundsMax[axis] - request.boundsMin[axis]) / double(request.cellSize);
    constexpr double share = 0.008;
    return static_cast<long long>(std::clamp(cells * share, 4e3, 1e6));
}

/// The last nodes of the grid stand on the upper sides of the box or a little beyond.
BoundingVolume gridBoxOf(const ExportRequest &request)
{
    const ExportGrid grid = ExportGrid::of(request);
    BoundingVolume box(request.boundsMin, request.boundsMax);
    for (int axis = 0; axis < 3; ++axis)
        box.setFace(axis, true, std::max(grid.last(axis), request.boundsMax[axis]));
    return box;
}

float depthOf(const ExportRequest &request)
{
    return depthShare * request.cellSize;
}

} // namespace

BoxCheck::BoxCheck(const ExportRequest &request, const eval::DefinitionTable &definitions,
                   const std::atomic_bool *cancelFlag)
    : m_request(request)
{
    if (request.sealed && !request.autoBounds)
        return;
    auto scene =
        eval::SdfSceneGraphBuilder::build(request.nodes, request.rootNodeIndex, definitions);
    if (!scene.error.isEmpty())
        return;
    const eval::CompiledField compiled = eval::compileField(scene, ::eval::Backend::Interpreted);
    if (!compiled.program)
        return;
    m_field = std::make_unique<bv::FieldIntervals>(compiled);
    m_field->setCancelFlag(cancelFlag);
    m_cut = bv::findSurfaceCut(*m_field, gridBoxOf(request), depthOf(request), budgetFor(request));
}

void BoxCheck::add(const std::array<std::optional<QVector3D>, bv::faceCount> &points)
{
    if (m_field)
        bv::addToSurfaceCut(m_cut, *m_field, gridBoxOf(m_request), depthOf(m_request), points);
}

std::optional<model::SceneWarning> BoxCheck::warning() const
{
    const BoundingVolume box(m_request.boundsMin, m_request.boundsMax);
    const float margin = std::max(marginShare * box.longestSide(), 2.0f * m_request.cellSize);
    return bv::surfaceCutWarning(m_cut, box, margin);
}

} // namespace corvane::xport
