#include <corvane/xport/CpuChunkProcessor.h>

#include <corvane/mesh/DualContouring.h>
#include <corvane/mesh/MarchingCubes.h>
#include <corvane/xport/FiniteSamples.h>
#include <corvane/xport/GridScan.h>
#include <corvane/xport/SealedField.h>

#include <QLoggingCategory>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace corvane::xport {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcCpuChunks, "ondrel.corvane.export", QtWarningMsg)

namespace {

float largestCoordinate(const ExportRequest &request)
{
    float largest = 0.0f;
    for (int axis = 0; axis < 3; ++axis)
        largest = std::max(
            {largest, std::fabs(request.boundsMin[axis]), std::fabs(request.boundsMax[axis])});
    return largest;
}

} // namespace

/// What one thread needs to sample a chunk; kept for the next chunk.
struct CpuChunkProcessor::Lane
{
    eval::EvalFieldEvaluator evaluator;
    std::vector<float> samples;
    ChunkNodes nodes;
    QString error;             ///< of the samples
    bool hasValueless = false; ///< of the samples
    GridFindings findings;
};

CpuChunkProcessor::CpuChunkProcessor(const eval::DefinitionTable &definitions)
    : m_definitions(definitions)
{}

CpuChunkProcessor::~CpuChunkProcessor() = default;

bool CpuChunkProcessor::initialize(const ExportRequest &request)
{
    m_origin = request.boundsMin;
    m_dual = request.extractor == static_cast<int>(SurfaceExtractor::DualContouring);
    m_seal = GridSeal(request);
    m_crossingMargin = crossingMarginFor(request);
    const bool native = request.backend == static_cast<int>(ExportBackend::Native);
    m_field = compile(request, native ? ::eval::Backend::Native : ::eval::Backend::Auto,
                      u"CpuChunkProcessor"_s);
    return !m_field.program.isNull();
}

eval::CompiledField CpuChunkProcessor::compile(const ExportRequest &request,
                                               ::eval::Backend backend, const QString &owner)
{
    auto scene =
        eval::SdfSceneGraphBuilder::build(request.nodes, request.rootNodeIndex, m_definitions);
    if (!scene.error.isEmpty()) {
        qCWarning(lcCpuChunks).noquote()
            << owner + u"::initialize: SdfSceneGraphBuilder failed:"_s << scene.error;
        m_error = scene.error;
        return {};
    }
    eval::CompiledField field = eval::compileField(scene, backend);
    if (!field.program)
        qCWarning(lcCpuChunks).noquote()
            << owner + u"::initialize: eval compile failed:"_s << field.error;
    m_error = field.error;
    return field;
}

bool CpuChunkProcessor::processChunk(const ChunkJob &job, const std::atomic_bool &cancelFlag,
                                     ChunkSurface &outTriangles, QString &outError)
{
    std::unique_ptr<Lane> lane = borrowLane();
    lane->evaluator.setCancelFlag(&cancelFlag);
    bool done = false;
    if (!lane->evaluator.isValid()) {
        outError = lane->evaluator.lastError();
    } else {
        done = m_dual ? contour(job, *lane, cancelFlag, outTriangles)
                      : march(job, *lane, cancelFlag, outTriangles);
        outError = std::exchange(lane->error, {});
        done = done && !cancelFlag.load(std::memory_order_relaxed);
        if (done)
            keepFault(lane->evaluator.lastError());
    }
    lane->evaluator.setCancelFlag(nullptr);
    returnLane(std::move(lane));
    return done;
}

mesh::ScalarField3D CpuChunkProcessor::fieldOf(const ChunkJob &job, const Lane &lane) const
{
    return {.values = lane.samples.data(),
            .nx = job.nx,
            .ny = job.ny,
            .nz = job.nz,
            .origin = m_origin,
            .cellSize = job.cellSize,
            .firstX = job.firstX,
            .firstY = job.firstY,
            .firstZ = job.firstZ,
            .crossingMargin = m_crossingMargin};
}

bool CpuChunkProcessor::march(const ChunkJob &job, Lane &lane, const std::atomic_bool &cancelFlag,
                              ChunkSurface &out) const
{
    if (!sample(job, lane, cancelFlag))
        return false;
    applyChunkSeal(lane.samples, job.nx, job.ny, job.nz, job.sealFaces, job.cellSize);
    scan(fieldOf(job, lane), 0, lane);
    out.rowsPerSlice = job.ny - 1;
    mesh::marchingCubes(fieldOf(job, lane), out.triangles, 0.0f, &cancelFlag, &out.rowEnds);
    return true;
}

/// One more cell on the low sides: it holds the vertices before the chunk's first plane of nodes.
/// Each grid edge that begins in the chunk is its own, and no other chunk's.
bool CpuChunkProcessor::contour(const ChunkJob &job, Lane &lane, const std::atomic_bool &cancelFlag,
                                ChunkSurface &out) const
{
    ChunkJob padded = job;
    for (qint64 *first : {&padded.firstX, &padded.firstY, &padded.firstZ})
        --*first;
    for (int *count : {&padded.nx, &padded.ny, &padded.nz})
        ++*count;
    if (!sample(padded, lane, cancelFlag))
        return false;
    std::span<float> rest(lane.samples);
    for (int k = 0; k < padded.nz; ++k) {
        for (int j = 0; j < padded.ny; ++j) {
            const auto nx = static_cast<std::size_t>(padded.nx);
            m_seal.raiseRow(rest.first(nx), padded.firstX, padded.firstY + j, padded.firstZ + k);
            rest = rest.subspan(nx);
        }
    }
    scan(fieldOf(padded, lane), 1, lane);
    SealedField field(lane.evaluator, m_seal);
    mesh::DcState state(
        fieldOf(padded, lane),
        [&field](auto points, auto result) { field.distances(points, result); },
        [&field](auto points, auto result) { field.gradients(points, result); });
    out.rowsPerSlice = job.ny - 1;
    state.extract(1, out.triangles, &cancelFlag, &out.rowEnds);
    return true;
}

/// Global positions, not chunk-relative: neighbours must compute bit-identical samples or the seam
/// opens.
bool CpuChunkProcessor::sample(const ChunkJob &job, Lane &lane,
                               const std::atomic_bool &cancelFlag) const
{
    const auto place = [&job](std::vector<float> &axis, int count, float origin, qint64 first) {
        axis.resize(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            axis[static_cast<std::size_t>(i)] =
                mesh::nodeCoordinate(origin, job.cellSize, first + i);
    };
    place(lane.nodes.xs, job.nx, m_origin.x(), job.firstX);
    place(lane.nodes.ys, job.ny, m_origin.y(), job.firstY);
    place(lane.nodes.zs, job.nz, m_origin.z(), job.firstZ);
    lane.samples.resize(lane.nodes.xs.size() * lane.nodes.ys.size() * lane.nodes.zs.size());
    if (!fill(lane.nodes, lane.evaluator, lane.samples, cancelFlag, lane.error))
        return false;
    lane.hasValueless = makeFinite(lane.samples);
    return true;
}

bool CpuChunkProcessor::fill(const ChunkNodes &nodes, eval::EvalFieldEvaluator &evaluator,
                             std::span<float> samples, const std::atomic_bool &cancelFlag,
                             QString &) const
{
    for (const float z : nodes.zs) {
        for (const float y : nodes.ys) {
            if (cancelFlag.load(std::memory_order_relaxed))
                return false;
            evaluator.evaluateRow(nodes.xs, y, z, samples.first(nodes.xs.size()));
            samples = samples.subspan(nodes.xs.size());
        }
    }
    return true;
}

void CpuChunkProcessor::scan(const mesh::ScalarField3D &field, int firstOwned, Lane &lane) const
{
    GridScan scan(field, firstOwned, lane.evaluator, m_seal);
    scan.run(lane.findings);
    scan.scanSides(m_seal.last(), lane.findings);
    if (lane.hasValueless)
        scan.scanValueless(lane.findings);
}

GridReport CpuChunkProcessor::report(const ExportRequest &request,
                                     const std::atomic_bool &cancelFlag)
{
    GridFindings findings;
    {
        const QMutexLocker lock(&m_mutex);
        for (const auto &lane : m_lanes)
            findings.merge(lane->findings);
    }
    eval::EvalFieldEvaluator field = makeEvaluator();
    field.setCancelFlag(&cancelFlag);
    return gridReport(std::move(findings), request, field);
}

void CpuChunkProcessor::release()
{
    const QMutexLocker lock(&m_mutex);
    m_lanes.clear();
    m_field = {};
    if (!m_firstFault.isEmpty())
        qCWarning(lcCpuChunks).noquote()
            << "[export] the field could not be evaluated everywhere, such points are outside:"
            << m_firstFault;
    m_firstFault.clear();
}

QString CpuChunkProcessor::name() const
{
    return u"CPU"_s;
}

std::unique_ptr<CpuChunkProcessor::Lane> CpuChunkProcessor::borrowLane()
{
    {
        const QMutexLocker lock(&m_mutex);
        if (!m_lanes.empty()) {
            std::unique_ptr<Lane> lane = std::move(m_lanes.back());
            m_lanes.pop_back();
            return lane;
        }
    }
    return std::unique_ptr<Lane>(new Lane{makeEvaluator(), {}, {}, {}, false, {}});
}

eval::EvalFieldEvaluator CpuChunkProcessor::makeEvaluator() const
{
    return {m_field.program, m_field.positionHandle, m_field.distanceHandle};
}

void CpuChunkProcessor::returnLane(std::unique_ptr<Lane> lane)
{
    const QMutexLocker lock(&m_mutex);
    m_lanes.push_back(std::move(lane));
}

void CpuChunkProcessor::keepFault(const QString &fault)
{
    const QMutexLocker lock(&m_mutex);
    if (m_firstFault.isEmpty())
        m_firstFault = fault;
}

void applyChunkSeal(std::span<float> samples, int nx, int ny, int nz, unsigned sealFaces,
                    float cellSize)
{
    if (sealFaces == 0)
        return;
    const float outside = cellSize > 0.0f ? cellSize : 1.0f;
    const auto raise = [&](int i, int j, int k) {
        float &value =
            samples[static_cast<std::size_t>(i) +
                    (static_cast<std::size_t>(j) + static_cast<std::size_t>(k) * ny) * nx];
        value = std::max(value, outside);
    };
    for (const int i : {0, nx - 1}) {
        if (sealFaces & (i == 0 ? SealLowX : SealHighX))
            for (int k = 0; k < nz; ++k)
                for (int j = 0; j < ny; ++j)
                    raise(i, j, k);
    }
    for (const int j : {0, ny - 1}) {
        if (sealFaces & (j == 0 ? SealLowY : SealHighY))
            for (int k = 0; k < nz; ++k)
                for (int i = 0; i < nx; ++i)
                    raise(i, j, k);
    }
    for (const int k : {0, nz - 1}) {
        if (sealFaces & (k == 0 ? SealLowZ : SealHighZ))
            for (int j = 0; j < ny; ++j)
                for (int i = 0; i < nx; ++i)
                    raise(i, j, k);
    }
}

float crossingMarginFor(const ExportRequest &request)
{
    constexpr float smallestLeg =
        1e-5f; // a corner cut off at this length has a cross product above 1e-10
    constexpr float largestMargin = 0.25f;
    const float largest = largestCoordinate(request);
    const float step = std::nextafter(largest, std::numeric_limits<float>::max()) - largest;
    return std::min(std::max(smallestLeg, 4.0f * step) / request.cellSize, largestMargin);
}

} // namespace corvane::xport
