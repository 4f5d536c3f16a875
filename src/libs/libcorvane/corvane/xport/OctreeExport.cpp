#include <corvane/xport/OctreeExport.h>

#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/mesh/OctreeDualContouring.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/CpuChunkProcessor.h>
#include <corvane/xport/GridSeal.h>
#include <corvane/xport/MemoryBudget.h>
#include <corvane/xport/SealedField.h>

#include <QLoggingCategory>

#include <vector>

namespace corvane::xport {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcOctree, "ondrel.corvane.export.octree", QtWarningMsg)

namespace {

/// The samples need no storing: the tree keeps their signs, a row at a time.
bool sampleSigns(mesh::OtState &state, eval::IFieldEvaluator &field, const GridSeal &seal)
{
    std::vector<float> xs(static_cast<std::size_t>(state.side));
    for (int i = 0; i < state.side; ++i)
        xs[static_cast<std::size_t>(i)] = state.position(i, 0, 0).x();
    std::vector<float> row(xs.size());
    for (int k = 0; k < state.side; ++k) {
        for (int j = 0; j < state.side; ++j) {
            if (state.cancel->load(std::memory_order_relaxed))
                return false;
            const QVector3D start = state.position(0, j, k);
            field.evaluateRow(xs, start.y(), start.z(), row);
            seal.raiseRow(row, 0, j, k);
            state.setRow(j, k, row);
        }
    }
    return true;
}

} // namespace

OctreeExport::OctreeExport(const ExportRequest &request, const eval::DefinitionTable &definitions,
                           const std::atomic_bool &cancelFlag)
    : m_request(request)
    , m_definitions(definitions)
    , m_cancelFlag(cancelFlag)
{
    int nx = 0, ny = 0, nz = 0;
    ChunkScheduler::estimateGridDimensions(request, nx, ny, nz);
    m_cells = mesh::octreeSide(std::max({nx, ny, nz}) - 1);
}

/// What numbers its nodes by int, and what its flags take.
QString OctreeExport::sizeError() const
{
    constexpr qint64 mostCells = qint64(1) << 20;
    const QString side = QString::number(m_cells + 1);
    const QString what = u"An octree over %1 x %1 x %1 nodes"_s.arg(side);
    if (m_cells > mostCells)
        return what + u" is too large: the limit is %1 nodes an axis"_s.arg(mostCells + 1);
    return memoryError(what, mesh::octreeSignBytes(static_cast<double>(m_cells)),
                       availableMemory());
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
    if (!sampleSigns(state, field, seal))
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
