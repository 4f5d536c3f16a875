#pragma once

#include <corvane/bench/BenchPipelineDefinition.h>
#include <corvane/bench/CompiledScene.h>
#include <corvane/bench/MeshMetrics.h>

#include <functional>
#include <memory>

namespace corvane::xport {
struct ExportRequest;
}

namespace corvane::bench {

class BenchCell;

/// What holds for all cells of a bench.
struct BenchOptions
{
    static constexpr int defaultTimeoutMs = 600'000;

    QString dbPath{};       ///< a SQLite file, or the URL of a PostgreSQL database
    QString artifactsDir{}; ///< where the meshes go
    QString testSetName{QStringLiteral("mesh-export-bench")};
    int exportTimeoutMs = defaultTimeoutMs; ///< of each export with its measuring; 0 or less: none
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
/// Any thread; blocks, and has the work done on another one. A cancel and the end of the time end
/// it within a second, with an error: work that does not stop at once, such as a compiler that
/// runs, then goes on without anybody waiting for it, and leaves no mesh.
class MeshExportBench
{
public:
    using Question = std::function<bool()>;

    /// @param isCancelled  asked again and again, on the thread that blocks
    MeshExportBench(const BenchOptions &options, Question isCancelled);

    /// Errors: "export timed out after %1 ms", "measuring timed out after %1 ms", "export failed:
    /// %1", "mesh load-back failed: %1", "field evaluator invalid: %1", "cancelled".
    /// @param artifactPath  the mesh file; the suffix is its format
    BenchCellResult runSingleExport(const CompiledScene &scene,
                                    const BenchPipelineDefinition &definition,
                                    const QString &artifactPath) const;

    static xport::ExportRequest requestFor(const CompiledScene &scene,
                                           const BenchPipelineDefinition &definition,
                                           const QString &artifactPath);

private:
    BenchCellResult resultOf(const std::shared_ptr<BenchCell> &cell) const;

    const BenchOptions m_options;
    const Question m_isCancelled;
};

} // namespace corvane::bench
