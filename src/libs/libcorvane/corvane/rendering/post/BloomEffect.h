#pragma once

#include <corvane/registry/ParameterDef.h>
#include <corvane/rendering/post/FullscreenPass.h>
#include <corvane/rendering/post/PostEffect.h>
#include <corvane/rendering/post/PostTarget.h>

#include <QList>

#include <array>
#include <memory>
#include <vector>

namespace corvane::rendering {

/// Light that glows beyond the pixels that it is in.
///
/// What exceeds the threshold goes down a pyramid of halved pictures and up again, each level
/// blurred and added to the next larger one, and a share of the sum is added to the picture. So a
/// wide glow costs about as much as a narrow one: all levels together have two thirds of the
/// picture's pixels. The way up draws into targets of its own, since a pass that adds to what a
/// target holds would have to load it first.
class BloomEffect : public PostEffect
{
public:
    static constexpr double defaultIntensity = 0.04;
    static constexpr double defaultThreshold = 1.0;
    static constexpr float radius = 1.0f; ///< of the blur on the way up, in texels of a level
    static constexpr int maxLevels = 5;

    explicit BloomEffect(const QList<registry::ParameterDef> &parameters);

    QString name() const override;
    bool setParameter(const QString &name, const QVariant &value) override;
    bool isActive() const override { return !m_failed && m_intensity > 0.0f; }
    bool initialize(QRhi *rhi, const QSize &size) override;
    void setRenderPassDescriptor(QRhiRenderPassDescriptor *descriptor) override;
    void prepareFrame(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source) override;
    void render(QRhiCommandBuffer *commands, const QSize &targetSize) override;
    void release() override;

private:
    /// One size of the pyramid: its pictures on the way down and up, and the passes that draw them.
    struct Level
    {
        PostTarget down;
        PostTarget up; ///< not of the smallest
        std::unique_ptr<FullscreenPass> downPass;
        std::unique_ptr<FullscreenPass> upPass;
    };
    using Bindings = QVector<QRhiShaderResourceBinding>;

    bool createFixedParts();
    bool fitLevels();
    static Level newLevel(bool isFirst);
    bool prepare(QRhiResourceUpdateBatch *updates, QRhiTexture *source);
    bool preparePasses(QRhiResourceUpdateBatch *updates, QRhiTexture *source);
    Bindings bindings(QRhiTexture *source, QRhiTexture *second = nullptr) const;
    QRhiTexture *upTexture(std::size_t level) const;
    static void draw(QRhiCommandBuffer *commands, const PostTarget &target,
                     const FullscreenPass &pass);

    QList<registry::ParameterDef> m_parameters;
    float m_intensity;
    float m_threshold;
    QRhi *m_rhi = nullptr;
    QSize m_size;
    QRhiRenderPassDescriptor *m_descriptor = nullptr;
    std::vector<Level> m_levels; ///< largest first
    FullscreenPass m_composite;
    std::unique_ptr<QRhiBuffer> m_block;
    std::unique_ptr<QRhiSampler> m_sampler;
    bool m_failed = false;
};

} // namespace corvane::rendering
