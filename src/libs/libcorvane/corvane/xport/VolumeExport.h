#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/eval/FieldCompiler.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/xport/ExportGrid.h>
#include <corvane/xport/GridReport.h>

#include <mesh/Mesh.h>

#include <atomic>
#include <functional>
#include <memory>

namespace corvane::xport {

/// Fills the inside of a field with tetrahedra and saves them.
class VolumeExport
{
public:
    using Progress = std::function<void(qint64 done, qint64 total)>;

    /// @param definitions  of the nodes in the request
    /// @param progress     called on the thread of run(), for each slice of the grid in turn
    VolumeExport(const ExportRequest &request, const eval::DefinitionTable &definitions,
                 const std::atomic_bool &cancelFlag, Progress progress);

    /// Samples, cuts and saves on threads of its own. A grid that cannot fit in memory is refused
    /// before any sampling.
    ExportResult run();
    /// After run(): what the samples show that the mesh will not.
    const GridReport &report() const { return m_report; }

private:
    QString sizeError() const;
    bool sample(QString &error);
    void look(const eval::CompiledField &compiled, bool hasValueless);
    mesh::ScalarField3D field() const;
    QString tetrahedraError() const;
    ExportResult saveTetMesh(const ::mesh::Mesh<float> &mesh) const;

    const ExportRequest &m_request;
    const eval::DefinitionTable &m_definitions;
    const std::atomic_bool &m_cancelFlag;
    Progress m_progress;
    int m_threads;
    ExportGrid m_grid;
    std::unique_ptr<float[]> m_samples; ///< X fastest
    GridReport m_report;
};

} // namespace corvane::xport
