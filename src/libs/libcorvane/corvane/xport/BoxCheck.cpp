#include <corvane/xport/BoxCheck.h>

#include <corvane/bv/FieldIntervals.h>
#include <corvane/bv/SurfaceCut.h>
#include <corvane/xport/ChunkScheduler.h>

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
    int nodes[3] = {};
    ChunkScheduler::estimateGridDimensions(request, nodes[0], nodes[1], nodes[2]);
    BoundingVolume box(request.boundsMin, request.boundsMax);
    for (int axis = 0; axis < 3; ++axis) {
        const float last = request.boundsMin[axis] + request.cellSize * float(nodes[axis] - 1);
        box.setFace(axis, true, std::max(last, request.boundsMax[axis]));
    }
    return box;
}

} // namespace

std::optional<model::SceneWarning> checkBox(const ExportRequest &request,
                                            const eval::DefinitionTable &definitions,
                                            const std::atomic_bool *cancelFlag)
{
    const BoundingVolume box(request.boundsMin, request.boundsMax);
    if (request.sealed && !request.autoBounds)
        return std::nullopt;
    auto scene =
        eval::SdfSceneGraphBuilder::build(request.nodes, request.rootNodeIndex, definitions);
    if (!scene.error.isEmpty())
        return std::nullopt;
    const eval::CompiledField compiled = eval::compileField(scene, ::eval::Backend::Interpreted);
    if (!compiled.program)
        return std::nullopt;
    bv::FieldIntervals field(compiled);
    field.setCancelFlag(cancelFlag);
    const bv::SurfaceCut cut = bv::findSurfaceCut(
        field, gridBoxOf(request), depthShare * request.cellSize, budgetFor(request));
    const float margin = std::max(marginShare * box.longestSide(), 2.0f * request.cellSize);
    return bv::surfaceCutWarning(cut, box, margin);
}

} // namespace corvane::xport
