#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/eval/FieldCompiler.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/xport/GridReport.h>
#include <corvane/xport/GridSeal.h>
#include <corvane/xport/IChunkProcessor.h>

#include <QMutex>

#include <memory>
#include <span>
#include <vector>

namespace corvane::xport {

/// Samples on the processor, interpreted or natively compiled, and meshes by marching cubes
/// or dual contouring.
///
/// processChunk() may run on many threads at once: they share the program, and each borrows an
/// evaluator and buffers of its own. A point at which the field faults, or is no number, is far
/// outside; release() then logs the first fault.
class CpuChunkProcessor : public IChunkProcessor
{
public:
    /// @param definitions  of the nodes in the request, so that pool threads need no registry
    explicit CpuChunkProcessor(const eval::DefinitionTable &definitions);
    ~CpuChunkProcessor() override;

    bool initialize(const ExportRequest &request) override;
    bool processChunk(const ChunkJob &job, const std::atomic_bool &cancelFlag,
                      ChunkSurface &outTriangles, QString &outError) override;
    void release() override;
    QString name() const override;
    /// After initialize() failed: why.
    const QString &error() const { return m_error; }

    /// What the samples show that the mesh will not, of all chunks of the request that this was
    /// initialized with; once, after the last and before release().
    GridReport report(const ExportRequest &request, const std::atomic_bool &cancelFlag);

protected:
    /// The nodes of a chunk, X fastest, by their coordinates on each axis.
    struct ChunkNodes
    {
        std::vector<float> xs, ys, zs;
    };
    /// Evaluates the field at all nodes of a chunk. False with a text when that failed, without one
    /// after a cancel. On many threads at once, each with an evaluator of its own.
    virtual bool fill(const ChunkNodes &nodes, eval::EvalFieldEvaluator &evaluator,
                      std::span<float> samples, const std::atomic_bool &cancelFlag,
                      QString &error) const;
    /// The scene of a request, compiled; without a program, after a warning that begins with
    /// `owner`, when that failed.
    eval::CompiledField compile(const ExportRequest &request, ::eval::Backend backend,
                                const QString &owner);

private:
    struct Lane;

    std::unique_ptr<Lane> borrowLane();
    void returnLane(std::unique_ptr<Lane> lane);
    void keepFault(const QString &fault);
    eval::EvalFieldEvaluator makeEvaluator() const;
    void scan(const mesh::ScalarField3D &field, int firstOwned, Lane &lane) const;
    bool sample(const ChunkJob &job, Lane &lane, const std::atomic_bool &cancelFlag) const;
    bool march(const ChunkJob &job, Lane &lane, const std::atomic_bool &cancelFlag,
               ChunkSurface &out) const;
    bool contour(const ChunkJob &job, Lane &lane, const std::atomic_bool &cancelFlag,
                 ChunkSurface &out) const;
    mesh::ScalarField3D fieldOf(const ChunkJob &job, const Lane &lane) const;

    eval::DefinitionTable m_definitions;
    QString m_error;
    eval::CompiledField m_field;
    QVector3D m_origin;
    float m_crossingMargin = 0.0f;
    bool m_dual = false; ///< dual contouring
    GridSeal m_seal;
    QMutex m_mutex; ///< of the members below
    std::vector<std::unique_ptr<Lane>> m_lanes;
    QString m_firstFault;
};

/// Raises each sample on the flagged faces to at least one cell size, so that the field reads as
/// outside there and the surface closes within the last cell.
void applyChunkSeal(std::span<float> samples, int nx, int ny, int nz, unsigned sealFaces,
                    float cellSize);

/// The share of an edge that crossings keep clear of its ends: a few units in the last place of the
/// largest coordinate, and enough that no triangle is so small that it counts as degenerate.
/// Dropping such a triangle would leave a hole.
float crossingMarginFor(const ExportRequest &request);

} // namespace corvane::xport
