#include <corvane/xport/ExportPipeline.h>

#include <corvane/eval/DefinitionTable.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/ShaderIndexManager.h>
#include <corvane/xport/AutoBounds.h>
#include <corvane/xport/BoxCheck.h>
#include <corvane/xport/ChunkRunner.h>
#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/CpuChunkProcessor.h>
#include <corvane/xport/GpuChunkProcessor.h>
#include <corvane/xport/MeshBuilder.h>
#include <corvane/xport/OctreeExport.h>
#include <corvane/xport/PostProcessStep.h>
#include <corvane/xport/VolumeExport.h>

#include <concurrency/Outcome.h>
#include <concurrency/startThread.h>
#include <mesh/io/IORegistry.h>

#include <QElapsedTimer>
#include <QScopeGuard>

#include <memory>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

/// The more chunks, the fewer of them are worth a signal.
constexpr qint64 mostReports = 10000;

constexpr int chunksAtOnceOnGpu = 2;

/// To tell that memory has run out takes some itself. So much at a time goes back to the system.
constexpr std::size_t reservedBytes = std::size_t(1) << 20;

eval::DefinitionTable collectDefinitions(const ExportRequest &request)
{
    if (request.nodes.isEmpty())
        return {};
    const registry::Registry &registry = registry::Registry::instance();
    shader::ShaderIndexManager indices;
    indices.rebuildIndices(&registry);
    return eval::DefinitionTable::collect(request.nodes, registry, indices);
}

QString uninitialized(const CpuChunkProcessor &processor)
{
    const QString failure = u"%1 backend initialization failed"_s.arg(processor.name());
    return processor.error().isEmpty() ? failure : failure + u": "_s + processor.error();
}

/// How an export broke off that has no error of its own: out of memory, as a rule.
QString brokenOff(const QString &reason, QLatin1String stage, const ExportRequest &request)
{
    const int threads = ChunkScheduler::resolveThreadCount(request.threadCount);
    const QString remedy = threads > 1 ? u"Use a larger cell size, or fewer threads than %1 "
                                         "(export.threadCount)"_s.arg(threads)
                                       : u"Use a larger cell size"_s;
    return u"The export broke off while %1 with a cell size of %2: %3. %4"_s.arg(
        stage, QString::number(request.cellSize), reason, remedy);
}

} // namespace

ExportPipeline::ExportPipeline(QObject *parent)
    : QObject(parent)
{}

ExportPipeline::~ExportPipeline()
{
    cancel();
    if (m_worker.joinable())
        m_worker.join();
}

void ExportPipeline::run(const ExportRequest &request)
{
    run(request, collectDefinitions(request));
}

void ExportPipeline::run(const ExportRequest &request, const eval::DefinitionTable &definitions)
{
    if (!begin())
        return;
    const bool isStarted =
        concurrency::startThread(m_worker, "Ondrel.export", [this, request, definitions] {
            finish(work(request, definitions));
        });
    if (!isStarted)
        finish(ExportResult::failed(u"The export was not begun: the system starts no further "
                                    "thread. End other programs, or raise its limits"_s));
}

ExportResult ExportPipeline::runHere(const ExportRequest &request)
{
    return runHere(request, collectDefinitions(request));
}

ExportResult ExportPipeline::runHere(const ExportRequest &request,
                                     const eval::DefinitionTable &definitions)
{
    if (!begin())
        return ExportResult::failed(u"Export already in progress"_s);
    const ExportResult result = work(request, definitions);
    m_active = false;
    return result;
}

bool ExportPipeline::begin()
{
    if (m_active.exchange(true)) {
        emit errorOccurred(u"Export already in progress"_s);
        return false;
    }
    // What is left of the run before is the end of its finished() signal.
    if (m_worker.joinable())
        m_worker.join();
    m_cancelled = false;
    return true;
}

ExportResult ExportPipeline::work(const ExportRequest &request,
                                  const eval::DefinitionTable &definitions)
{
    QElapsedTimer timer;
    timer.start();
    ExportResult result;
    m_stage = "preparing the field"_L1;
    auto reserve = std::make_unique<char[]>(reservedBytes);
    const concurrency::Outcome outcome =
        concurrency::guarded([&] { result = execute(request, definitions); });
    reserve.reset();
    if (!outcome.isGood())
        result = ExportResult::failed(brokenOff(outcome.reason(), m_stage, request));
    result.elapsedSeconds = static_cast<double>(timer.elapsed()) / 1000.0;
    return result;
}

void ExportPipeline::finish(const ExportResult &result)
{
    m_active = false;
    emit finished(result);
}

QList<model::SceneWarning> ExportPipeline::boxWarnings(ExportRequest request)
{
    const eval::DefinitionTable definitions = collectDefinitions(request);
    const std::atomic_bool neverCancelled = false;
    QList<model::SceneWarning> warnings;
    if (request.autoBounds)
        warnings = applyAutoBounds(request, definitions,
                                   ChunkScheduler::resolveThreadCount(request.threadCount),
                                   neverCancelled);
    const QString gridError = ChunkScheduler::gridError(request);
    if (!gridError.isEmpty())
        warnings.append({.where = u"settings.export"_s,
                         .what = u"an export fails: "_s + gridError,
                         .remedy = u"Correct \"bounds\" or \"cellSize\""_s});
    else if (const auto cut = BoxCheck(request, definitions).warning())
        warnings.append(*cut);
    return warnings;
}

void ExportPipeline::cancel()
{
    m_cancelled = true;
}

ExportResult ExportPipeline::execute(ExportRequest request,
                                     const eval::DefinitionTable &definitions)
{
    if (request.algorithm == static_cast<int>(ExportAlgorithm::Direct))
        return exportDirect(request);
    // A step that nobody knows is said before the meshing, not after it.
    const QString stepError = request.algorithm == static_cast<int>(ExportAlgorithm::Volume)
                                  ? QString()
                                  : parsePostProcess(request.postprocess).error;
    if (!stepError.isEmpty())
        return ExportResult::failed(stepError);
    QList<model::SceneWarning> warnings;
    m_stage = "finding the bounds"_L1;
    if (request.autoBounds)
        warnings =
            applyAutoBounds(request, definitions,
                            ChunkScheduler::resolveThreadCount(request.threadCount), m_cancelled);
    if (m_cancelled)
        return ExportResult::failed(u"Export cancelled"_s);
    m_stage = "sampling the field"_L1;
    const QString gridError = ChunkScheduler::gridError(request);
    if (!gridError.isEmpty())
        return ExportResult::failed(gridError);
    BoxCheck box(request, definitions, &m_cancelled);
    ExportResult result = exportField(request, definitions, box);
    if (const auto cut = box.warning())
        warnings.append(*cut);
    result.warnings = warnings + result.warnings;
    return result;
}

/// Meshes the field of a request, whose box and grid are known to be sound.
ExportResult ExportPipeline::exportField(const ExportRequest &request,
                                         const eval::DefinitionTable &definitions, BoxCheck &box)
{
    if (request.algorithm == static_cast<int>(ExportAlgorithm::Volume))
        return exportVolume(request, definitions, box);
    if (request.extractor == static_cast<int>(SurfaceExtractor::OctreeDualContouring))
        return exportOctree(request, definitions, box);
    return exportChunks(request, definitions, box);
}

ExportResult ExportPipeline::exportChunks(const ExportRequest &request,
                                          const eval::DefinitionTable &definitions, BoxCheck &box)
{
    const bool onGpu = request.backend == static_cast<int>(ExportBackend::Gpu);
    // While the device works on one chunk, another is meshed.
    const int threads = std::max(ChunkScheduler::resolveThreadCount(request.threadCount),
                                 onGpu ? chunksAtOnceOnGpu : 1);
    const ChunkScheduler scheduler(request, threads);
    emit progressChanged(0, scheduler.count());
    const auto processor = onGpu ? std::make_unique<GpuChunkProcessor>(definitions)
                                 : std::make_unique<CpuChunkProcessor>(definitions);
    const auto release = qScopeGuard([&processor] { processor->release(); });
    if (!processor->initialize(request))
        return ExportResult::failed(uninitialized(*processor));
    ChunkRunner runner(*processor, scheduler, m_cancelled,
                       [this](qint64 done, qint64 total) { reportProgress(done, total); });
    runner.run(threads);
    if (m_cancelled)
        return ExportResult::failed(u"Export cancelled"_s);
    if (!runner.error().isEmpty())
        return ExportResult::failed(runner.error());
    const GridReport report = processor->report(request, m_cancelled);
    return makeMesh(runner.takeSurface(), report, request, definitions, box);
}

ExportResult ExportPipeline::makeMesh(GridSurface &&surface, const GridReport &report,
                                      const ExportRequest &request,
                                      const eval::DefinitionTable &definitions, BoxCheck &box)
{
    m_stage = "making the mesh"_L1;
    box.add(report.cuts);
    ExportResult result = MeshBuilder::buildAndSaveMesh(std::move(surface), request, m_cancelled,
                                                        definitions, box.isCut());
    result.warnings = report.warnings + result.warnings;
    return result;
}

ExportResult ExportPipeline::exportOctree(const ExportRequest &request,
                                          const eval::DefinitionTable &definitions, BoxCheck &box)
{
    emit progressChanged(0, 1);
    GridSurface surface;
    QString error;
    OctreeExport octree(request, definitions, m_cancelled);
    const bool done = octree.run(surface, error);
    if (m_cancelled)
        return ExportResult::failed(u"Export cancelled"_s);
    if (!done)
        return ExportResult::failed(error);
    emit progressChanged(1, 1);
    return makeMesh(std::move(surface), octree.report(), request, definitions, box);
}

ExportResult ExportPipeline::exportVolume(const ExportRequest &request,
                                          const eval::DefinitionTable &definitions, BoxCheck &box)
{
    VolumeExport volume(request, definitions, m_cancelled,
                        [this](qint64 done, qint64 total) { reportProgress(done, total); });
    ExportResult result = volume.run();
    box.add(volume.report().cuts);
    result.warnings = volume.report().warnings + result.warnings;
    return result;
}

ExportResult ExportPipeline::exportDirect(const ExportRequest &request)
{
    if (request.directSourcePath.isEmpty())
        return ExportResult::failed(u"No source file path for direct export"_s);
    const auto &formats = ::mesh::io::IORegistry<float>::instance();
    const auto goOn = [this](qint64, qint64) { return !m_cancelled.load(); };
    ::mesh::io::ImportOptions importOptions;
    importOptions.progress = goOn;
    m_stage = "converting the mesh"_L1;
    const auto mesh = formats.load(request.directSourcePath, importOptions);
    if (m_cancelled)
        return ExportResult::failed(u"Cancelled"_s);
    if (!mesh)
        return ExportResult::failed(u"Failed to load source mesh: %1"_s.arg(mesh.error().message));
    ::mesh::io::ExportOptions exportOptions;
    exportOptions.progress = goOn;
    const auto saved = formats.save(mesh.value(), request.outputPath, exportOptions);
    if (!saved && m_cancelled)
        return ExportResult::failed(u"Cancelled"_s);
    if (!saved)
        return ExportResult::failed(u"Failed to save mesh: %1"_s.arg(saved.error().message));
    ExportResult result;
    result.success = true;
    for (const auto &element : mesh.value().elements) {
        result.triangleCount += element.type == ::mesh::ElementType::Triangle ? 1 : 0;
        result.tetrahedronCount += element.type == ::mesh::ElementType::Tetrahedron ? 1 : 0;
    }
    result.vertexCount = mesh.value().vertices.size();
    return result;
}

void ExportPipeline::reportProgress(qint64 done, qint64 total)
{
    const qint64 step = total / mostReports + 1;
    if (done % step == 0 || done == total)
        emit progressChanged(done, total);
}

} // namespace corvane::xport
