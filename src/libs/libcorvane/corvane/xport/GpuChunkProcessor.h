#pragma once

#include <corvane/xport/CpuChunkProcessor.h>

namespace corvane::xport {

/// Samples on the GPU, a chunk in one dispatch, and meshes by marching cubes.
///
/// processChunk() may run on several threads at once: the device takes their chunks in turn, and
/// while it works on one, the others are laid out, meshed and looked through. Single points, which
/// only the warnings need, are evaluated on the processor.
class GpuChunkProcessor : public CpuChunkProcessor
{
public:
    using CpuChunkProcessor::CpuChunkProcessor;

    bool initialize(const ExportRequest &request) override;
    void release() override;
    QString name() const override;
    QString failureText() const override;

protected:
    bool fill(const ChunkNodes &nodes, eval::EvalFieldEvaluator &evaluator,
              std::span<float> samples, const std::atomic_bool &cancelFlag,
              QString &error) const override;

private:
    QSharedPointer<const ::eval::Program> m_program;
};

} // namespace corvane::xport
