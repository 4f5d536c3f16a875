#pragma once

#include <eval/gpu/LaneResources.h>

#include <QSize>

#include <memory>
#include <vector>

namespace eval::gpu {

/// Points in the pixels of textures, four floats to a pixel and as many textures as it takes;
/// values in the pixels of as many targets. One triangle covers them all.
class FragmentLane : public LaneResources
{
public:
    QString build(QRhi *rhi, const QShader &shader, int inFloats, int outFloats) override;
    QString refusal(qsizetype count) const override;
    qsizetype partLimit(int inFloats) const override;
    QString run(GpuDevice &device, const LaneInput &input, std::span<float> output,
                int count) override;

private:
    struct Texture
    {
        std::unique_ptr<QRhiTexture> texture;
        QRhiReadbackResult read{};
    };

    QSize layout(qsizetype count) const;
    QString resize(const QSize &size);
    QString createTextures(std::vector<Texture> &textures, const QSize &size, const QString &text,
                           QRhiTexture::Flags flags);
    QString createTarget(const QSize &size);
    QString createPipeline();
    void upload(QRhiResourceUpdateBatch &batch, std::span<const float> input, int count) const;
    QString collect(std::span<float> output, int count) const;

    QRhi *m_rhi = nullptr;
    QShader m_shader;
    QShader m_vertexShader;
    int m_inFloats = 0;
    int m_outFloats = 0;
    QSize m_size;
    std::vector<Texture> m_inputs;
    std::vector<Texture> m_outputs;
    std::unique_ptr<QRhiBuffer> m_params;
    std::unique_ptr<QRhiSampler> m_sampler;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::unique_ptr<QRhiGraphicsPipeline> m_pipeline;
};

} // namespace eval::gpu
