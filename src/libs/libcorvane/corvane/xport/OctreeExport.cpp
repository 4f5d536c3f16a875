#include <corvane/xport/OctreeExport.h>

#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/mesh/OctreeDualContouring.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/xport/CpuChunkProcessor.h>
#include <corvane/xport/ExportGrid.h>
#include <corvane/xport/FiniteSamples.h>
#include <corvane/xport/GridScan.h>
#include <corvane/xport/GridSeal.h>
#include <corvane/xport/MemoryBudget.h>
#include <corvane/xport/SealedField.h>

#include <QLoggingCategory>

#include <algorithm>
#include <vector>

namespace corvane::xport {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcOctree, "ondrel.corvane.export.octree", QtWarningMsg)

namespace {

/// Planes of nodes that are kept for a look at them: more make no findings cheaper.
constexpr qint64 planesPerSlab = 16;

/// The samples of a slab, and those of the first plane of the next one.
double slabBytes(qint64 cells)
{
    const double side = double(cells + 1);
    return double(std::min(planesPerSlab, cells) + 1) * side * side * sizeof(float);
}

/// Samples the nodes of a tree, which keeps their signs, and looks at them a slab at a time.
class SlabSampler
{
public:
    SlabSampler(mesh::OtState &state, eval::IFieldEvaluator &field, const GridSeal &seal)
        : m_state(state)
        , m_field(field)
        , m_seal(seal)
        , m_planes(int(std::min(planesPerSlab, qint64(state.side) - 1)))
        , m_planeSize(std::size_t(state.side) * std::size_t(state.side))
        , m_samples(std::size_t(m_planes + 1) * m_planeSize)
    {
        for (int i = 0; i < state.side; ++i)
            m_xs.push_back(state.position(i, 0, 0).x());
    }

    /// False when it was cancelled.
    bool run()
    {
        // The side is a power of two plus one: the slabs come out even.
        bool isGoingOn = samplePlane(0, 0);
        for (int first = 0; isGoingOn && first + 1 < m_state.side; first += m_planes) {
            for (int k = 1; isGoingOn && k <= m_planes; ++k)
                isGoingOn = samplePlane(first + k, k);
            if (isGoingOn)
                look(first);
        }
        return isGoingOn;
    }

    GridFindings takeFindings() { return std::move(m_findings); }

private:
    bool samplePlane(int k, int place)
    {
        const auto side = std::size_t(m_state.side);
        std::span<float> rest = std::span(m_samples).subspan(std::size_t(place) * m_planeSize);
        for (int j = 0; j < m_state.side; ++j, rest = rest.subspan(side)) {
            if (m_state.cancel->load(std::memory_order_relaxed))
                return false;
            const std::span<float> row = rest.first(side);
            const QVector3D start = m_state.position(0, j, k);
            m_field.evaluateRow(m_xs, start.y(), start.z(), row);
            m_seal.raiseRow(row, 0, j, k);
            m_hasValueless |= makeFinite(row);
            m_state.setRow(j, k, row);
        }
        return true;
    }

    /// The last plane becomes the first one of the next slab.
    void look(int firstPlane)
    {
        const mesh::ScalarField3D slab{.values = m_samples.data(),
                                       .nx = m_state.side,
                                       .ny = m_state.side,
                                       .nz = m_planes + 1,
                                       .origin = m_state.origin,
                                       .cellSize = m_state.cellSize,
                                       .firstZ = firstPlane};
        GridScan scan(slab, 0, m_field, m_seal);
        scan.run(m_findings);
        const qint64 last = m_state.side - 1; // the mesh ends there, which may be beyond the box
        scan.scanSides({last, last, last}, m_findings);
        if (m_hasValueless)
            scan.scanValueless(m_findings);
        std::ranges::copy(std::span(m_samples).last(m_planeSize), m_samples.begin());
    }

    mesh::OtState &m_state;
    eval::IFieldEvaluator &m_field;
    const GridSeal &m_seal;
    const int m_planes;
    const std::size_t m_planeSize;
    std::vector<float> m_samples;
    std::vector<float> m_xs;
    bool m_hasValueless = false;
    GridFindings m_findings;
};

} // namespace

OctreeExport::OctreeExport(const ExportRequest &request, const eval::DefinitionTable &definitions,
                           const std::atomic_bool &cancelFlag)
    : m_request(request)
    , m_definitions(definitions)
    , m_cancelFlag(cancelFlag)
    , m_cells(mesh::octreeSide(ExportGrid::of(request).mostCells()))
{}

/// What numbers its nodes by int, and what its flags take.
QString OctreeExport::sizeError() const
{
    constexpr qint64 mostCells = qint64(1) << 20;
    const QString side = QString::number(m_cells + 1);
    const QString what = u"An octree over %1 x %1 x %1 nodes"_s.arg(side);
    if (m_cells > mostCells)
        return what + u" is too large: the limit is %1 nodes an axis"_s.arg(mostCells + 1);
    return memoryError(what, mesh::octreeSignBytes(double(m_cells)) + slabBytes(m_cells),
                       availableMemory());
}

bool OctreeExport::sample(mesh::OtState &state, eval::IFieldEvaluator &field, const GridSeal &seal)
{
    SlabSampler sampler(state, field, seal);
    if (!sampler.run())
        return false;
    m_report = gridReport(sampler.takeFindings(), m_request, field);
    return true;
}

bool OctreeExport::run(GridSurface &surface, QString &error)
{
    error = sizeError();
    if (!error.isEmpty())
        return false;
    eval::CPUFieldEvaluator field(m_request.nodes, m_request.rootNodeIndex, m_definitions);
    if (!field.isValid()) {
        error = u"Octree DC evaluator failed: %1"_s.arg(field.lastError());
        return false;
    }
    field.setCancelFlag(&m_cancelFlag);
    const GridSeal seal(m_request);
    mesh::OtState state;
    state.origin = m_request.boundsMin;
    state.cellSize = m_request.cellSize;
    state.errorLimit = mesh::octreeErrorLimit(m_request.cellSize);
    state.vertexMargin = crossingMarginFor(m_request) * m_request.cellSize;
    SealedField sealed(field, seal);
    state.field = [&sealed](auto points, auto out) { sealed.distances(points, out); };
    state.gradient = [&sealed](auto points, auto out) { sealed.gradients(points, out); };
    state.cancel = &m_cancelFlag;
    state.setSide(static_cast<int>(m_cells) + 1);
    if (!sample(state, field, seal))
        return false;
    const qint64 crossed = mesh::prepareOctree(state);
    if (crossed < 0)
        return false;
    error = memoryError(u"An octree with %1 crossed cells"_s.arg(crossed),
                        mesh::octreeTreeBytes(static_cast<double>(crossed)), availableMemory());
    if (!error.isEmpty() || !mesh::extractOctree(state))
        return false;
    if (!field.lastError().isEmpty())
        qCWarning(lcOctree).noquote()
            << "[export] the field could not be evaluated everywhere, such points are outside:"
            << field.lastError();
    surface.insert(0, {.triangles = std::move(state.output), .rowEnds = {}, .rowsPerSlice = 0});
    return true;
}

} // namespace corvane::xport
