#include <corvane/xport/VolumeExport.h>

#include <corvane/eval/FieldCompiler.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/mesh/TetrahedralVolume.h>
#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/FiniteSamples.h>
#include <corvane/xport/GridScan.h>
#include <corvane/xport/MemoryBudget.h>
#include <corvane/xport/VolumeMesh.h>

#include <concurrency/SharedLoop.h>
#include <concurrency/parallelFor.h>
#include <mesh/HugePages.h>
#include <mesh/io/IORegistry.h>

#include <QLoggingCategory>
#include <QMutex>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <limits>

namespace corvane::xport {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcVolume, "ondrel.corvane.export.volume", QtWarningMsg)

namespace {

constexpr int tetrahedraPerCell = 5;

/// Slices that one thread looks through at a time.
constexpr int slicesPerSlab = 16;

/// All slices of a grid, each sampled with an evaluator of its own.
class SliceSampler
{
public:
    SliceSampler(const eval::CompiledField &field, const ExportGrid &grid,
                 const std::atomic_bool &cancelFlag, float *samples)
        : m_field(field)
        , m_grid(grid)
        , m_cancelFlag(cancelFlag)
        , m_samples(samples)
    {
        for (int i = 0; i < grid.nodes[0]; ++i)
            m_xs.push_back(grid.coordinate(0, i));
    }

    /// Samples all slices on threads of their own, and tells from this one how far they are.
    void run(int slices, int threads, const VolumeExport::Progress &progress)
    {
        concurrency::SharedLoop loop(slices);
        const auto work = [&] {
            for (qint64 k = loop.next(); k >= 0 && !m_cancelFlag.load(); k = loop.next()) {
                sampleSlice(static_cast<int>(k));
                loop.finishOne();
            }
        };
        loop.run("Ondrel.corvane.volume-sample", threads, work,
                 [&](qint64 done) { progress(done, slices); });
    }

    /// After run(): what the evaluators said, and whether there are samples without a value.
    QString fault() const { return m_fault; }
    bool hasValueless() const { return m_hasValueless; }

private:
    void sampleSlice(int k)
    {
        eval::EvalFieldEvaluator evaluator(m_field.program, m_field.positionHandle,
                                           m_field.distanceHandle);
        evaluator.setCancelFlag(&m_cancelFlag);
        const float z = m_grid.coordinate(2, k);
        const std::size_t rowLength = m_xs.size();
        const int rows = m_grid.nodes[1];
        for (int j = 0; j < rows && !m_cancelFlag.load(std::memory_order_relaxed); ++j) {
            const std::size_t row = static_cast<std::size_t>(j) +
                                    static_cast<std::size_t>(k) * static_cast<std::size_t>(rows);
            const std::span<float> out(m_samples + row * rowLength, rowLength);
            evaluator.evaluateRow(m_xs, m_grid.coordinate(1, j), z, out);
            if (makeFinite(out))
                m_hasValueless = true;
        }
        const QMutexLocker lock(&m_mutex);
        if (m_fault.isEmpty() && !m_cancelFlag.load())
            m_fault = evaluator.lastError();
    }

    const eval::CompiledField &m_field;
    const ExportGrid &m_grid;
    const std::atomic_bool &m_cancelFlag;
    float *m_samples;
    std::vector<float> m_xs;
    std::atomic_bool m_hasValueless = false;
    QMutex m_mutex; ///< of the fault
    QString m_fault;
};

} // namespace

VolumeExport::VolumeExport(const ExportRequest &request, const eval::DefinitionTable &definitions,
                           const std::atomic_bool &cancelFlag, Progress progress)
    : m_request(request)
    , m_definitions(definitions)
    , m_cancelFlag(cancelFlag)
    , m_progress(std::move(progress))
    , m_threads(request.threadCount > 0 ? ChunkScheduler::resolveThreadCount(request.threadCount)
                                        : QThread::idealThreadCount())
    , m_grid(ExportGrid::of(request))
{}

QString VolumeExport::sizeError() const
{
    const double count =
        double(m_grid.nodes[0]) * double(m_grid.nodes[1]) * double(m_grid.nodes[2]);
    return memoryError(u"A volume over %1 x %2 x %3 nodes"_s.arg(m_grid.nodes[0])
                           .arg(m_grid.nodes[1])
                           .arg(m_grid.nodes[2]),
                       count * sizeof(float), availableMemory());
}

bool VolumeExport::sample(QString &error)
{
    auto scene =
        eval::SdfSceneGraphBuilder::build(m_request.nodes, m_request.rootNodeIndex, m_definitions);
    const bool native = m_request.backend == static_cast<int>(ExportBackend::Native);
    const eval::CompiledField compiled =
        scene.error.isEmpty()
            ? eval::compileField(scene, native ? ::eval::Backend::Native : ::eval::Backend::Auto)
            : eval::CompiledField();
    if (!compiled.program) {
        error = u"Volume evaluator failed: %1"_s.arg(scene.error.isEmpty() ? compiled.error
                                                                           : scene.error);
        return false;
    }
    const std::size_t count = static_cast<std::size_t>(m_grid.nodes[0]) *
                              static_cast<std::size_t>(m_grid.nodes[1]) *
                              static_cast<std::size_t>(m_grid.nodes[2]);
    // Not initialised: the threads that sample are the first to touch it.
    m_samples = std::make_unique_for_overwrite<float[]>(count);
    ::mesh::adviseHugePages(m_samples.get(), count * sizeof(float));
    SliceSampler sampler(compiled, m_grid, m_cancelFlag, m_samples.get());
    sampler.run(m_grid.nodes[2], m_threads, m_progress);
    if (!sampler.fault().isEmpty())
        qCWarning(lcVolume).noquote()
            << "[export] the field could not be evaluated everywhere, such points are outside:"
            << sampler.fault();
    if (!m_cancelFlag.load())
        look(compiled, sampler.hasValueless());
    return !m_cancelFlag.load();
}

/// Keeps what the samples show that the tetrahedra will not.
void VolumeExport::look(const eval::CompiledField &compiled, bool hasValueless)
{
    const auto makeEvaluator = [&] {
        eval::EvalFieldEvaluator evaluator(compiled.program, compiled.positionHandle,
                                           compiled.distanceHandle);
        evaluator.setCancelFlag(&m_cancelFlag);
        return evaluator;
    };
    const GridSeal open; // nothing seals a volume
    const mesh::ScalarField3D whole = field();
    const int cells = m_grid.nodes[2] - 1;
    QMutex mutex;
    GridFindings findings;
    concurrency::parallelFor((cells + slicesPerSlab - 1) / slicesPerSlab, m_threads, [&](auto n) {
        if (m_cancelFlag.load())
            return;
        mesh::ScalarField3D slab = whole;
        slab.firstZ = n * slicesPerSlab;
        slab.values += whole.index(0, 0, int(slab.firstZ));
        slab.nz = std::min(slicesPerSlab, cells - int(slab.firstZ)) + 1;
        eval::EvalFieldEvaluator evaluator = makeEvaluator();
        GridScan scan(slab, 0, evaluator, open);
        GridFindings own;
        scan.run(own);
        scan.scanSides({m_grid.nodes[0] - 1, m_grid.nodes[1] - 1, cells}, own);
        if (hasValueless)
            scan.scanValueless(own);
        const QMutexLocker lock(&mutex);
        findings.merge(own);
    });
    eval::EvalFieldEvaluator evaluator = makeEvaluator();
    if (!m_cancelFlag.load())
        m_report = gridReport(std::move(findings), m_request, evaluator);
}

mesh::ScalarField3D VolumeExport::field() const
{
    return {.values = m_samples.get(),
            .nx = m_grid.nodes[0],
            .ny = m_grid.nodes[1],
            .nz = m_grid.nodes[2],
            .origin = m_grid.origin,
            .cellSize = m_grid.cellSize};
}

/// Counted before they are made: a solid block has five in each cell.
QString VolumeExport::tetrahedraError() const
{
    std::atomic<qint64> cells = 0;
    concurrency::parallelFor(m_grid.nodes[2] - 1, m_threads, [&](qsizetype k) {
        cells += mesh::cellsWithInside(field(), static_cast<int>(k));
    });
    const double count = static_cast<double>(cells) * tetrahedraPerCell;
    const QString what = u"A volume of up to %1 tetrahedra"_s.arg(count, 0, 'f', 0);
    constexpr double most = std::numeric_limits<int>::max();
    if (count > most)
        return what + u" is too large: the limit is %1"_s.arg(most, 0, 'f', 0);
    return memoryError(what, count * VolumeMesh::bytesEach(), availableMemory());
}

ExportResult VolumeExport::run()
{
    QString error = sizeError();
    if (!error.isEmpty())
        return ExportResult::failed(error);
    m_progress(0, m_grid.nodes[2]);
    const bool sampled = sample(error);
    if (m_cancelFlag.load())
        return ExportResult::failed(u"Export cancelled"_s);
    if (sampled)
        error = tetrahedraError();
    if (!error.isEmpty())
        return ExportResult::failed(error);
    VolumeMesh volume(field(), m_threads, m_cancelFlag);
    m_samples.reset();
    if (m_cancelFlag.load())
        return ExportResult::failed(u"Export cancelled"_s);
    if (volume.skippedCount() > 0)
        qCInfo(lcVolume) << "Export: skipped" << volume.skippedCount() << "degenerate tetrahedra";
    ::mesh::Mesh<float> mesh = std::move(volume).take();
    if (m_cancelFlag.load())
        return ExportResult::failed(u"Export cancelled"_s);
    mesh.name = u"SDF Tet Export"_s;
    return saveTetMesh(mesh);
}

ExportResult VolumeExport::saveTetMesh(const ::mesh::Mesh<float> &mesh) const
{
    if (mesh.elements.isEmpty())
        return ExportResult::failed(u"Export produced no tetrahedra — the source may be hidden or "
                                    "outside the export bounds"_s);
    ::mesh::io::ExportOptions options;
    options.progress = [this](qint64, qint64) { return !m_cancelFlag.load(); };
    options.threads = m_threads;
    const auto saved =
        ::mesh::io::IORegistry<float>::instance().save(mesh, m_request.outputPath, options);
    if (!saved && m_cancelFlag.load())
        return ExportResult::failed(u"Export cancelled"_s);
    if (!saved)
        return ExportResult::failed(u"Failed to save tet mesh: %1"_s.arg(saved.error().message));
    ExportResult result;
    result.success = true;
    result.tetrahedronCount = mesh.elements.size();
    result.vertexCount = mesh.vertices.size();
    return result;
}

} // namespace corvane::xport
