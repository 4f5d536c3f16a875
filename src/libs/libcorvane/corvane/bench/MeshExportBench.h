#pragma once

#include <corvane/bench/BenchPipelineDefinition.h>
#include <corvane/bench/CompiledScene.h>
#include <corvane/bench/MeshMetrics.h>

#include <atomic>

namespace corvane::xport {
struct ExportRequest;
}

namespace corvane::bench {

/// What holds for all cells of a bench.
struct BenchOptions
{
    static constexpr int defaultTimeoutMs = 600'000;

    QString dbPath{};       ///< a SQLite file, or the URL of a PostgreSQL database
    QString artifactsDir{}; ///< where the meshes go
    QString testSetName{QStringLiteral("mesh-export-bench")};
    int exportTimeoutMs = defaultTimeoutMs; ///< of each export; 0 or less: none
};

/// How one scene came out under one definition.
struct BenchCellResult
{
    QString scene{};
    QString definition{};
    bool exportOk = false; ///< a mesh file was written
    bool gateOk = false;   ///< and it passes the gate
    double score = 0.0;
    MeshMetrics metrics{};
    QString error{}; ///< why there are no metrics; empty when there are
};

/// Exports a scene by a definition, reads the mesh back and measures it against the field.
///
/// Any thread; blocks. A cancel ends it within about a second, with an error.
class MeshExportBench
{
public:
    MeshExportBench(const BenchOptions &options, const std::atomic_bool &cancelFlag);

    /// Errors: "export timed out after %1 ms", "export failed: %1", "mesh load-back failed: %1",
    /// "field evaluator invalid: %1".
    /// @param artifactPath  the mesh file; the suffix is its format
    BenchCellResult runSingleExport(const CompiledScene &scene,
                                    const BenchPipelineDefinition &definition,
                                    const QString &artifactPath) const;

    static xport::ExportRequest requestFor(const CompiledScene &scene,
                                           const BenchPipelineDefinition &definition,
                                           const QString &artifactPath);

private:
    QString exportMesh(const xport::ExportRequest &request, const CompiledScene &scene,
                       MeshMetrics &metrics) const;
    QString measure(const CompiledScene &scene, const QString &artifactPath,
                    MeshMetrics &metrics) const;

    const BenchOptions m_options;
    const std::atomic_bool &m_cancelFlag;
};

} // namespace corvane::bench
