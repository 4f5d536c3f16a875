#pragma once

#include <eval/gpu/LaneResources.h>

#include <memory>

namespace eval::gpu {

/// Points in one storage buffer, values in another, 64 points a group. The buffers only grow.
class ComputeLane : public LaneResources
{
public:
    QString build(QRhi *rhi, const QShader &shader, int inFloats, int outFloats) override;
    QString refusal(qsizetype) const override { return {}; }
    qsizetype partLimit(int inFloats) const override;
    bool takesGrids() const override { return true; }
    QString run(GpuDevice &device, const LaneInput &input, std::span<float> output,
                int count) override;

private:
    static constexpr int groupSize = 64; ///< local_size_x of the shader

    QString grow(qsizetype inputFloats, qsizetype outputFloats);
    bool bind();

    QRhi *m_rhi = nullptr;
    int m_inFloats = 0;
    int m_outFloats = 0;
    std::unique_ptr<QRhiBuffer> m_params;
    std::unique_ptr<QRhiBuffer> m_input;
    std::unique_ptr<QRhiBuffer> m_output;
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::unique_ptr<QRhiComputePipeline> m_pipeline;
};

} // namespace eval::gpu
