#pragma once

#include <corvane/eval/IFieldEvaluator.h>
#include <corvane/xport/ExportRequest.h>
#include <corvane/xport/GridFindings.h>

namespace corvane::xport {

/// What the samples of a request's grid have to say.
struct GridReport
{
    /// Of holes of the field, small pieces, and thin walls.
    QList<model::SceneWarning> warnings{};
    /// Points of the solid on the sides of the grid, in the order of bv::SurfaceCut.
    std::array<std::optional<QVector3D>, 6> cuts{};
};

/// Makes the report of a request whose grid showed these findings. For walls the field is measured
/// where the findings are: some ten thousand evaluations at most.
GridReport gridReport(GridFindings findings, const ExportRequest &request,
                      eval::IFieldEvaluator &field);

} // namespace corvane::xport
