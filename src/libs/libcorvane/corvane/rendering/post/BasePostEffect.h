#pragma once

#include <corvane/registry/ParameterDef.h>
#include <corvane/rendering/post/FullscreenPass.h>
#include <corvane/rendering/post/PostEffect.h>

#include <QByteArray>
#include <QList>

#include <memory>

namespace corvane::rendering {

/// An effect that is one pass: a fragment shader that reads the step before as `u_src` (binding 0)
/// and its parameters, one float each in their order, as a block (binding 1).
class BasePostEffect : public PostEffect
{
public:
    /// What a shader is, and the parameters that its block holds.
    struct Description
    {
        QString id{};
        QString fragmentShader{};
        QList<registry::ParameterDef> parameters{};
        int blockBinding = 1;
    };

    explicit BasePostEffect(const Description &description);

    QString name() const override { return m_id; }
    /// Values are clamped to the parameter's range.
    bool setParameter(const QString &name, const QVariant &value) override;
    /// False after a failure, until release(). Effects that can be without any effect add to it.
    bool isActive() const override { return !m_failed; }

    bool initialize(QRhi *rhi, const QSize &size) override;
    void setRenderPassDescriptor(QRhiRenderPassDescriptor *descriptor) override;
    void prepareFrame(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source) override;
    void render(QRhiCommandBuffer *commands, const QSize &targetSize) override;
    void release() override;

protected:
    float value(qsizetype index) const { return m_values[index]; }
    /// What is uploaded: a multiple of 16 bytes, always of one size; none for a shader without a
    /// block.
    virtual QByteArray block() const;
    /// What the shader reads besides `source` and the block.
    virtual QVector<QRhiShaderResourceBinding> furtherBindings() const { return {}; }
    /// What is to be uploaded besides the block.
    virtual void upload(QRhiResourceUpdateBatch *) {}
    /// What belongs to the device besides the block and the sampler.
    virtual bool createFurtherResources(QRhi *) { return true; }
    QRhiSampler *sampler() const { return m_sampler.get(); }
    static QByteArray paddedBlock(const QList<float> &values);

private:
    bool createResources();
    QVector<QRhiShaderResourceBinding> bindings(QRhiTexture *source) const;

    QString m_id;
    int m_blockBinding;
    QList<registry::ParameterDef> m_parameters;
    QList<float> m_values; ///< parallel to the parameters
    FullscreenPass m_pass;
    QRhi *m_rhi = nullptr;
    QRhiRenderPassDescriptor *m_descriptor = nullptr; ///< of the target; somebody else's
    std::unique_ptr<QRhiBuffer> m_block;
    std::unique_ptr<QRhiSampler> m_sampler;
    bool m_failed = false;
};

} // namespace corvane::rendering
