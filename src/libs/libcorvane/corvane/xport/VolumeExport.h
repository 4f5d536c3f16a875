#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/mesh/Tetrahedron.h>
#include <corvane/xport/ExportRequest.h>

#include <mesh/Mesh.h>

#include <QList>

#include <atomic>
#include <functional>
#include <vector>

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

    /// Samples on a pool of its own, cuts and saves on the calling thread. A grid that cannot fit
    /// in memory is refused before any sampling.
    ExportResult run();

    /// One mesh of all tetrahedra, named "SDF Tet Export", with vertices merged that lie in the
    /// same cube of 0.002 cells. What then names a vertex twice is left out and counted in the log.
    static ::mesh::Mesh<float> assemble(const QList<mesh::Tetrahedron> &tetrahedra, float cellSize);

private:
    QString sizeError() const;
    bool sample(QString &error);
    QString tetrahedraError() const;
    ExportResult buildAndSaveTetMesh(const QList<mesh::Tetrahedron> &tetrahedra) const;

    const ExportRequest &m_request;
    const eval::DefinitionTable &m_definitions;
    const std::atomic_bool &m_cancelFlag;
    Progress m_progress;
    int m_nodes[3] = {};
    std::vector<float> m_samples; ///< X fastest
};

} // namespace corvane::xport
