#include <corvane/bench/MeshExportBench.h>

#include <corvane/bench/BenchScore.h>
#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/xport/ExportPipeline.h>

#include <mesh/io/IORegistry.h>

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSemaphore>

namespace corvane::bench {

using namespace Qt::StringLiterals;

namespace {

constexpr int pollMs = 50;

int backendNamed(const QString &word)
{
    const auto is = [&word](QLatin1String name) {
        return word.compare(name, Qt::CaseInsensitive) == 0;
    };
    const auto backend = is("GPU"_L1)      ? xport::ExportBackend::Gpu
                         : is("Native"_L1) ? xport::ExportBackend::Native
                                           : xport::ExportBackend::Cpu;
    return int(backend);
}

} // namespace

MeshExportBench::MeshExportBench(const BenchOptions &options, const std::atomic_bool &cancelFlag)
    : m_options(options)
    , m_cancelFlag(cancelFlag)
{}

BenchCellResult MeshExportBench::runSingleExport(const CompiledScene &scene,
                                                 const BenchPipelineDefinition &definition,
                                                 const QString &artifactPath) const
{
    const xport::ExportRequest request = requestFor(scene, definition, artifactPath);
    BenchCellResult cell;
    cell.scene = QFileInfo(scene.path).completeBaseName();
    cell.definition = definition.name;
    cell.metrics.cellSize = double(request.cellSize);
    cell.error = exportMesh(request, scene, cell.metrics);
    cell.exportOk = cell.error.isEmpty();
    if (!cell.exportOk)
        return cell;
    cell.error = measure(scene, artifactPath, cell.metrics);
    if (cell.error.isEmpty()) {
        cell.gateOk = passesGate(cell.metrics);
        cell.score = score(cell.metrics);
    }
    return cell;
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
    request.backend = backendNamed(definition.backend);
    request.sealed = definition.sealed;
    request.postprocess = definition.postprocess;
    request.outputPath = artifactPath;
    return request;
}

QString MeshExportBench::exportMesh(const xport::ExportRequest &request, const CompiledScene &scene,
                                    MeshMetrics &metrics) const
{
    xport::ExportResult result;
    QSemaphore ended;
    xport::ExportPipeline pipeline;
    // Direct: nobody runs the events of this thread while it waits.
    QObject::connect(
        &pipeline, &xport::ExportPipeline::finished, &pipeline,
        [&](const xport::ExportResult &finished) {
            result = finished;
            ended.release();
        },
        Qt::DirectConnection);
    pipeline.run(request, scene.definitions);
    const QDeadlineTimer deadline = m_options.exportTimeoutMs > 0
                                        ? QDeadlineTimer(m_options.exportTimeoutMs)
                                        : QDeadlineTimer(QDeadlineTimer::Forever);
    while (!ended.tryAcquire(1, pollMs)) {
        if (!m_cancelFlag && !deadline.hasExpired())
            continue;
        pipeline.cancel();
        ended.acquire();
        return m_cancelFlag ? u"cancelled"_s
                            : u"export timed out after %1 ms"_s.arg(m_options.exportTimeoutMs);
    }
    metrics.exportSeconds = result.elapsedSeconds;
    return result.success ? QString() : u"export failed: %1"_s.arg(result.errorMessage);
}

QString MeshExportBench::measure(const CompiledScene &scene, const QString &artifactPath,
                                 MeshMetrics &metrics) const
{
    QElapsedTimer timer;
    timer.start();
    const auto mesh = ::mesh::io::IORegistry<float>::instance().load(artifactPath);
    if (!mesh)
        return u"mesh load-back failed: %1"_s.arg(mesh.error().message);
    eval::CPUFieldEvaluator field(scene.nodes, scene.rootIndex, scene.definitions);
    if (!field.isValid())
        return u"field evaluator invalid: %1"_s.arg(field.lastError());
    field.setCancelFlag(&m_cancelFlag);
    MeshMetrics measured = computeMeshMetrics(mesh.value(), field, m_cancelFlag);
    if (m_cancelFlag)
        return u"cancelled"_s;
    measured.exportSeconds = metrics.exportSeconds;
    measured.cellSize = metrics.cellSize;
    measured.metricsSeconds = double(timer.elapsed()) / 1000.0;
    metrics = measured;
    return {};
}

} // namespace corvane::bench
