#include <corvane/xport/GridReport.h>

#include <corvane/mesh/ScalarField3D.h>
#include <corvane/xport/WallCheck.h>

namespace corvane::xport {

GridReport gridReport(GridFindings findings, const ExportRequest &request,
                      eval::IFieldEvaluator &field)
{
    const QVector3D origin = request.boundsMin;
    const float cellSize = request.cellSize;
    const auto positionOf = [origin, cellSize](const GridNode &node) {
        return QVector3D(mesh::nodeCoordinate(origin.x(), cellSize, node.x),
                         mesh::nodeCoordinate(origin.y(), cellSize, node.y),
                         mesh::nodeCoordinate(origin.z(), cellSize, node.z));
    };
    GridReport report{.warnings = findingsWarnings(findings, cellSize, positionOf)};
    for (std::size_t side = 0; side < findings.cuts.size(); ++side) {
        if (findings.cuts[side].depth > 0.0f)
            report.cuts[side] = positionOf(findings.cuts[side].node);
    }
    if (const auto walls = WallCheck(field, cellSize, positionOf).check(std::move(findings)))
        report.warnings.append(*walls);
    return report;
}

} // namespace corvane::xport
