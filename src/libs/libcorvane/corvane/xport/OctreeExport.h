#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/xport/ExportRequest.h>
#include <corvane/xport/GridReport.h>
#include <corvane/xport/GridSurface.h>

#include <atomic>

namespace corvane::eval {
class IFieldEvaluator;
}
namespace corvane::mesh {
struct OtState;
}

namespace corvane::xport {

class GridSeal;

/// Meshes the whole grid of a request by octree dual contouring, on the calling thread.
class OctreeExport
{
public:
    /// @param definitions  of the nodes in the request
    OctreeExport(const ExportRequest &request, const eval::DefinitionTable &definitions,
                 const std::atomic_bool &cancelFlag);

    /// False with a text when the field cannot be made or the tree cannot fit in memory, which is
    /// found before any sampling; false without one after a cancel.
    bool run(GridSurface &surface, QString &error);
    /// After run(): what the samples show that the mesh will not.
    const GridReport &report() const { return m_report; }

private:
    QString sizeError() const;
    bool sample(mesh::OtState &state, eval::IFieldEvaluator &field, const GridSeal &seal);

    const ExportRequest &m_request;
    const eval::DefinitionTable &m_definitions;
    const std::atomic_bool &m_cancelFlag;
    qint64 m_cells = 0; ///< a side of the padded grid
    GridReport m_report;
};

} // namespace corvane::xport
