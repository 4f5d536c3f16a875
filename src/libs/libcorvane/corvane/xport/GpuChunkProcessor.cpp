#include <corvane/xport/GpuChunkProcessor.h>

#include <eval/Graph.h>

#include <QLoggingCategory>

namespace corvane::xport {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcGpuChunks, "ondrel.corvane.export", QtWarningMsg)

bool GpuChunkProcessor::initialize(const ExportRequest &request)
{
    if (!::eval::isBackendAvailable(::eval::Backend::Gpu)) {
        qCWarning(lcGpuChunks) << "GpuChunkProcessor::initialize: no GPU-evaluation-capable QRhi "
                                  "(neither compute nor fragment lane) on this host";
        return false;
    }
    ExportRequest sampled = request;
    if (request.extractor == static_cast<int>(SurfaceExtractor::DualContouring)) {
        qCWarning(lcGpuChunks) << "GpuChunkProcessor: DualContouring not implemented on the GPU "
                                  "sampling path yet — falling back to Marching Cubes";
        sampled.extractor = static_cast<int>(SurfaceExtractor::MarchingCubes);
    }
    m_program = compile(sampled, ::eval::Backend::Gpu, u"GpuChunkProcessor"_s).program;
    return m_program && CpuChunkProcessor::initialize(sampled);
}

bool GpuChunkProcessor::fill(const ChunkNodes &nodes, eval::EvalFieldEvaluator &,
                             std::span<float> samples, const std::atomic_bool &cancelFlag,
                             QString &error) const
{
    ::eval::Program program = *m_program; // this thread's own
    program.setCancelFlag(&cancelFlag);
    const auto result = program.evaluateGrid(nodes.xs, nodes.ys, nodes.zs, samples);
    if (cancelFlag.load(std::memory_order_relaxed))
        return false;
    error = result ? QString() : result.firstError().message;
    return bool(result);
}

void GpuChunkProcessor::release()
{
    m_program.reset();
    CpuChunkProcessor::release();
}

QString GpuChunkProcessor::name() const
{
    return u"GPU"_s;
}

QString GpuChunkProcessor::failureText() const
{
    return u"GPU evaluation error: %1"_s;
}

} // namespace corvane::xport
