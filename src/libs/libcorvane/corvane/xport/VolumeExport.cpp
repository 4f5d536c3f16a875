#include <corvane/xport/VolumeExport.h>

#include <corvane/eval/FieldCompiler.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/mesh/TetrahedralVolume.h>
#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/MemoryBudget.h>

#include <mesh/io/IORegistry.h>

#include <QHash>
#include <QLoggingCategory>
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#include <QThreadPool>
#include <QtConcurrentMap>

#include <cmath>
#include <limits>
#include <numeric>

namespace corvane::xport {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcVolume, "ondrel.corvane.export.volume", QtWarningMsg)

namespace {

constexpr int pollMilliseconds = 80;
constexpr int tetrahedraPerCell = 5;

/// A cube of the lattice in which equal vertices fall together.
struct VertexKey
{
    qint64 x = 0, y = 0, z = 0;

    bool operator==(const VertexKey &) const = default;
};

std::size_t qHash(const VertexKey &key, std::size_t seed = 0)
{
    return static_cast<std::size_t>((key.x * 73856093) ^ (key.y * 19349663) ^ (key.z * 83492791)) ^
           seed;
}

/// Numbers the vertices of a mesh in the order in which they are first met.
class VertexTable
{
public:
    VertexTable(QList<::mesh::Vector3<float>> &vertices, float cellSize)
        : m_vertices(vertices)
        , m_scale(1.0 / (2.0 * 0.001 * static_cast<double>(cellSize)))
    {}

    int indexOf(const QVector3D &p)
    {
        const VertexKey key{cubeOf(p.x()), cubeOf(p.y()), cubeOf(p.z())};
        const auto known = m_numbers.constFind(key);
        if (known != m_numbers.constEnd())
            return *known;
        m_vertices.append({p.x(), p.y(), p.z()});
        return *m_numbers.insert(key, static_cast<int>(m_vertices.size()) - 1);
    }

private:
    qint64 cubeOf(float coordinate) const
    {
        constexpr double limit = 9e18;
        return static_cast<qint64>(
            std::clamp(std::floor(static_cast<double>(coordinate) * m_scale), -limit, limit));
    }

    QList<::mesh::Vector3<float>> &m_vertices;
    double m_scale;
    QHash<VertexKey, int> m_numbers;
};

bool isDegenerate(const ::mesh::NodeList &nodes)
{
    for (int one = 0; one < 4; ++one) {
        for (int other = 0; other < one; ++other) {
            if (nodes[one] == nodes[other])
                return true;
        }
    }
    return false;
}

/// All slices of a grid, each sampled by one task.
class SliceSampler
{
public:
    SliceSampler(const eval::CompiledField &field, const ExportRequest &request,
                 const std::atomic_bool &cancelFlag, const int (&nodes)[3],
                 std::vector<float> &samples)
        : m_field(field)
        , m_request(request)
        , m_cancelFlag(cancelFlag)
        , m_ny(nodes[1])
        , m_samples(samples)
    {
        for (int i = 0; i < nodes[0]; ++i)
            m_xs.push_back(mesh::nodeCoordinate(request.boundsMin.x(), request.cellSize, i));
    }

    void sampleSlice(int k)
    {
        eval::EvalFieldEvaluator evaluator(m_field.program, m_field.positionHandle,
                                           m_field.distanceHandle);
        evaluator.setCancelFlag(&m_cancelFlag);
        const float z = coordinate(m_request.boundsMin.z(), k);
        const std::size_t rowLength = m_xs.size();
        for (int j = 0; j < m_ny && !m_cancelFlag.load(std::memory_order_relaxed); ++j) {
            const std::size_t row = static_cast<std::size_t>(j) +
                                    static_cast<std::size_t>(k) * static_cast<std::size_t>(m_ny);
            const std::span<float> out(m_samples.data() + row * rowLength, rowLength);
            evaluator.evaluateRow(m_xs, coordinate(m_request.boundsMin.y(), j), z, out);
            for (float &value : out) {
                if (!std::isfinite(value))
                    value = value < 0.0f ? -eval::farDistance : eval::farDistance;
            }
        }
        const QMutexLocker lock(&m_mutex);
        if (m_fault.isEmpty() && !m_cancelFlag.load())
            m_fault = evaluator.lastError();
    }

    /// After the last slice.
    QString fault() const { return m_fault; }

private:
    float coordinate(float origin, int index) const
    {
        return mesh::nodeCoordinate(origin, m_request.cellSize, index);
    }

    const eval::CompiledField &m_field;
    const ExportRequest &m_request;
    const std::atomic_bool &m_cancelFlag;
    int m_ny;
    std::vector<float> &m_samples;
    std::vector<float> m_xs;
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
{
    ChunkScheduler::estimateGridDimensions(request, m_nodes[0], m_nodes[1], m_nodes[2]);
}

QString VolumeExport::sizeError() const
{
    const double count = double(m_nodes[0]) * double(m_nodes[1]) * double(m_nodes[2]);
    return memoryError(
        u"A volume over %1 x %2 x %3 nodes"_s.arg(m_nodes[0]).arg(m_nodes[1]).arg(m_nodes[2]),
        count * sizeof(float), availableMemory());
}

bool VolumeExport::sample(QString &error)
{
    auto scene =
        eval::SdfSceneGraphBuilder::build(m_request.nodes, m_request.rootNodeIndex, m_definitions);
    const bool native = m_request.backend == static_cast<int>(ExportBackend::Native);
    const eval::CompiledField field =
        scene.error.isEmpty()
            ? eval::compileField(scene, native ? ::eval::Backend::Native : ::eval::Backend::Auto)
            : eval::CompiledField();
    if (!field.program) {
        error =
            u"Volume evaluator failed: %1"_s.arg(scene.error.isEmpty() ? field.error : scene.error);
        return false;
    }
    m_samples.resize(static_cast<std::size_t>(m_nodes[0]) * static_cast<std::size_t>(m_nodes[1]) *
                     static_cast<std::size_t>(m_nodes[2]));
    SliceSampler sampler(field, m_request, m_cancelFlag, m_nodes, m_samples);
    QThreadPool pool;
    pool.setObjectName(u"Ondrel.corvane.volume-sample"_s);
    pool.setMaxThreadCount(m_request.threadCount > 0
                               ? ChunkScheduler::resolveThreadCount(m_request.threadCount)
                               : QThread::idealThreadCount());
    QList<int> slices(m_nodes[2]);
    std::iota(slices.begin(), slices.end(), 0);
    QSemaphore done;
    QFuture<void> all = QtConcurrent::map(&pool, slices, [&](int slice) {
        sampler.sampleSlice(slice);
        done.release();
    });
    for (qint64 reported = 0; reported < m_nodes[2] && !m_cancelFlag.load();) {
        if (done.tryAcquire(1, pollMilliseconds))
            m_progress(++reported, m_nodes[2]);
    }
    if (m_cancelFlag.load())
        all.cancel();
    all.waitForFinished();
    if (!sampler.fault().isEmpty())
        qCWarning(lcVolume).noquote()
            << "[export] the field could not be evaluated everywhere, such points are outside:"
            << sampler.fault();
    return !m_cancelFlag.load();
}

/// Counted before they are made: a solid block has five in each cell.
QString VolumeExport::tetrahedraError() const
{
    constexpr double vertexEntry = 64.0; // with its share of the table of vertices
    constexpr double bytesEach =
        sizeof(mesh::Tetrahedron) + sizeof(::mesh::ElementData<float>) + vertexEntry / 4.0;
    const std::size_t row = static_cast<std::size_t>(m_nodes[0]);
    const std::size_t slice = row * static_cast<std::size_t>(m_nodes[1]);
    double cells = 0.0;
    for (std::size_t i = 0; i + slice + row + 1 < m_samples.size(); ++i) {
        bool inside = false;
        for (const std::size_t corner : {std::size_t(0), std::size_t(1), row, row + 1, slice,
                                         slice + 1, slice + row, slice + row + 1})
            inside = inside || m_samples[i + corner] <= 0.0f;
        cells += inside ? 1.0 : 0.0;
    }
    const double count = cells * tetrahedraPerCell;
    const QString what = u"A volume of up to %1 tetrahedra"_s.arg(count, 0, 'f', 0);
    constexpr double most = std::numeric_limits<int>::max();
    if (count > most)
        return what + u" is too large: the limit is %1"_s.arg(most, 0, 'f', 0);
    return memoryError(what, count * bytesEach, availableMemory());
}

ExportResult VolumeExport::run()
{
    QString error = sizeError();
    if (!error.isEmpty())
        return ExportResult::failed(error);
    m_progress(0, m_nodes[2]);
    const bool sampled = sample(error);
    if (m_cancelFlag.load())
        return ExportResult::failed(u"Export cancelled"_s);
    if (sampled)
        error = tetrahedraError();
    if (!error.isEmpty())
        return ExportResult::failed(error);
    const mesh::ScalarField3D field{.values = m_samples.data(),
                                    .nx = m_nodes[0],
                                    .ny = m_nodes[1],
                                    .nz = m_nodes[2],
                                    .origin = m_request.boundsMin,
                                    .cellSize = m_request.cellSize};
    QList<mesh::Tetrahedron> tetrahedra;
    mesh::tetrahedralVolume(field, tetrahedra, &m_cancelFlag);
    m_samples = {};
    if (m_cancelFlag.load())
        return ExportResult::failed(u"Export cancelled"_s);
    return buildAndSaveTetMesh(tetrahedra);
}

::mesh::Mesh<float> VolumeExport::assemble(const QList<mesh::Tetrahedron> &tetrahedra,
                                           float cellSize)
{
    ::mesh::Mesh<float> result;
    result.name = u"SDF Tet Export"_s;
    result.elements.reserve(tetrahedra.size());
    VertexTable table(result.vertices, cellSize);
    qsizetype skipped = 0;
    for (const mesh::Tetrahedron &tetrahedron : tetrahedra) {
        ::mesh::NodeList nodes;
        for (const QVector3D &corner : tetrahedron.corners)
            nodes.append(table.indexOf(corner));
        if (isDegenerate(nodes))
            ++skipped;
        else
            result.addElement(::mesh::ElementType::Tetrahedron, nodes);
    }
    if (skipped > 0)
        qCInfo(lcVolume) << "Export: skipped" << skipped << "degenerate tetrahedra";
    return result;
}

ExportResult VolumeExport::buildAndSaveTetMesh(const QList<mesh::Tetrahedron> &tetrahedra) const
{
    const ::mesh::Mesh<float> mesh = assemble(tetrahedra, m_request.cellSize);
    if (mesh.elements.isEmpty())
        return ExportResult::failed(u"Export produced no tetrahedra — the source may be hidden or "
                                    "outside the export bounds"_s);
    ::mesh::io::ExportOptions options;
    options.progress = [this](qint64, qint64) { return !m_cancelFlag.load(); };
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
