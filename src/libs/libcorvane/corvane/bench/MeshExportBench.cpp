#include <corvane/bench/MeshExportBench.h>

#include <corvane/bench/BenchScore.h>
#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/xport/ExportPipeline.h>

#include <concurrency/Outcome.h>
#include <concurrency/startThread.h>
#include <mesh/io/IORegistry.h>

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFileInfo>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace corvane::bench {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds pollInterval(50);
// What is left of the second within which the end of the time must show.
constexpr std::chrono::milliseconds patience(500);

} // namespace

/// The work at one cell, on the thread that run() is called on. It owns all that it touches, since
/// it may go on when nobody waits for it any more.
class BenchCell
{
public:
    BenchCell(const CompiledScene &scene, const xport::ExportRequest &request)
        : m_scene(scene)
        , m_request(request)
    {}

    BenchCellResult run();
    /// Makes run() end soon. Any thread.
    void stop()
    {
        m_stopped = true;
        m_pipeline.cancel();
    }
    bool isExported() const { return m_isExported; } ///< a mesh file is there; any thread

private:
    void exportMesh(BenchCellResult &result);
    void measure(BenchCellResult &result) const;

    const CompiledScene m_scene;
    const xport::ExportRequest m_request;
    xport::ExportPipeline m_pipeline;
    std::atomic_bool m_stopped = false;
    std::atomic_bool m_isExported = false;
};

BenchCellResult BenchCell::run()
{
    BenchCellResult result;
    const concurrency::Outcome outcome = concurrency::guarded([&] {
        exportMesh(result);
        if (result.error.isEmpty())
            measure(result);
    });
    if (!outcome.isGood())
        result.error = u"measuring failed: %1"_s.arg(outcome.reason());
    result.exportOk = m_isExported;
    return result;
}

void BenchCell::exportMesh(BenchCellResult &result)
{
    if (m_stopped)
        return;
    const xport::ExportResult exported = m_pipeline.runHere(m_request, m_scene.definitions);
    result.metrics.exportSeconds = exported.elapsedSeconds;
    if (!exported.success)
        result.error = u"export failed: %1"_s.arg(exported.errorMessage);
    m_isExported = exported.success;
}

void BenchCell::measure(BenchCellResult &result) const
{
    QElapsedTimer timer;
    timer.start();
    ::mesh::io::ImportOptions options;
    options.progress = [this](qint64, qint64) { return !m_stopped.load(); };
    const auto mesh = ::mesh::io::IORegistry<float>::instance().load(m_request.outputPath, options);
    if (!mesh) {
        result.error = u"mesh load-back failed: %1"_s.arg(mesh.error().message);
        return;
    }
    eval::CPUFieldEvaluator field(m_scene.nodes, m_scene.rootIndex, m_scene.definitions);
    if (!field.isValid()) {
        result.error = u"field evaluator invalid: %1"_s.arg(field.lastError());
        return;
    }
    field.setCancelFlag(&m_stopped);
    MeshMetrics measured = computeMeshMetrics(mesh.value(), field, m_stopped);
    measured.exportSeconds = result.metrics.exportSeconds;
    measured.metricsSeconds = double(timer.elapsed()) / 1000.0;
    result.metrics = measured;
}

MeshExportBench::MeshExportBench(const BenchOptions &options, Question isCancelled)
    : m_options(options)
    , m_isCancelled(std::move(isCancelled))
{}

BenchCellResult MeshExportBench::runSingleExport(const CompiledScene &scene,
                                                 const BenchPipelineDefinition &definition,
                                                 const QString &artifactPath) const
{
    const xport::ExportRequest request = requestFor(scene, definition, artifactPath);
    BenchCellResult result = resultOf(std::make_shared<BenchCell>(scene, request));
    result.scene = QFileInfo(scene.path).completeBaseName();
    result.definition = definition.name;
    result.metrics.cellSize = double(request.cellSize);
    if (result.error.isEmpty()) {
        result.gateOk = passesGate(result.metrics);
        result.score = score(result.metrics);
    }
    return result;
}

BenchCellResult MeshExportBench::resultOf(const std::shared_ptr<BenchCell> &cell) const
{
    const auto promise = std::make_shared<std::promise<BenchCellResult>>();
    std::future<BenchCellResult> result = promise->get_future();
    BenchCellResult stopped;
    std::thread thread;
    if (!concurrency::startThread(thread, "Ondrel.bench",
                                  [cell, promise] { promise->set_value(cell->run()); })) {
        stopped.error = u"export failed: the system starts no further thread"_s;
        return stopped;
    }
    thread.detach();
    const QDeadlineTimer deadline = m_options.exportTimeoutMs > 0
                                        ? QDeadlineTimer(m_options.exportTimeoutMs)
                                        : QDeadlineTimer(QDeadlineTimer::Forever);
    while (result.wait_for(pollInterval) != std::future_status::ready) {
        const bool isCancelled = m_isCancelled();
        if (!isCancelled && !deadline.hasExpired())
            continue;
        // Again and again: the export may be only about to begin.
        for (const QDeadlineTimer end(patience); !end.hasExpired();) {
            cell->stop();
            if (result.wait_for(pollInterval) == std::future_status::ready)
                break;
        }
        stopped.exportOk = cell->isExported();
        stopped.error =
            isCancelled
                ? u"cancelled"_s
                : u"%1 timed out after %2 ms"_s.arg(stopped.exportOk ? u"measuring"_s : u"export"_s,
                                                    QString::number(m_options.exportTimeoutMs));
        return stopped;
    }
    return result.get();
}

xport::ExportRequest MeshExportBench::requestFor(const CompiledScene &scene,
                                                 const BenchPipelineDefinition &definition,
                                                 const QString &artifactPath)
{
    xport::ExportRequest request;
    request.nodes = scene.nodes;
    request.rootNodeIndex = scene.rootIndex;
    request.boundsMin = scene.boundsMin;
    request.boundsMax = scene.boundsMax;
    request.autoBounds = scene.autoBounds;
    request.cellSize = definition.cellSize > 0.0f ? definition.cellSize : scene.cellSize;
    request.extractor = int(xport::surfaceExtractorNamed(definition.extractor));
    request.backend = int(xport::exportBackendNamed(definition.backend, Qt::CaseInsensitive));
    request.sealed = definition.sealed;
    request.postprocess = definition.postprocess;
    request.outputPath = artifactPath;
    return request;
}

} // namespace corvane::bench
