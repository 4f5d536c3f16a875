#pragma once

#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/post/PostEffect.h>
#include <rhi/BackendCaps.h>
#include <rhi/OffscreenRhi.h>

#include <QImage>
#include <QList>
#include <QVector4D>

#include <functional>
#include <memory>

/// A device without a display, and pictures of floats to draw from and to.
class PictureRig
{
public:
    using Pixels = QList<QVector4D>; ///< rows from the first

    explicit PictureRig(const QSize &size)
        : m_rhi(rhi::createOffscreenRhi(nullptr))
        , m_size(size)
    {
        if (m_rhi)
            makeTarget();
    }

    bool isValid() const { return m_isValid; }
    QRhi *rhi() const { return m_rhi.get(); }
    QRhiTextureRenderTarget *target() const { return m_target.get(); }
    QSize size() const { return m_size; }

    std::unique_ptr<QRhiTexture> texture(const QSize &size, const Pixels &pixels)
    {
        std::unique_ptr<QRhiTexture> made(m_rhi->newTexture(QRhiTexture::RGBA32F, size));
        made->create();
        m_uploads = m_rhi->nextResourceUpdateBatch();
        m_uploads->uploadTexture(
            made.get(),
            QRhiTextureUploadEntry(0, 0, {pixels.constData(), int(pixels.size() * 16)}));
        frame([](QRhiCommandBuffer *) {});
        return made;
    }

    /// Records one frame and answers what it left in the target.
    Pixels frame(const std::function<void(QRhiCommandBuffer *)> &record)
    {
        QRhiCommandBuffer *commands = nullptr;
        if (m_rhi->beginOffscreenFrame(&commands) != QRhi::FrameOpSuccess)
            return {};
        if (m_uploads)
            commands->resourceUpdate(std::exchange(m_uploads, nullptr));
        record(commands);
        QRhiReadbackResult result;
        QRhiResourceUpdateBatch *const readBack = m_rhi->nextResourceUpdateBatch();
        readBack->readBackTexture({m_color.get()}, &result);
        commands->resourceUpdate(readBack);
        m_rhi->endOffscreenFrame();
        Pixels pixels(m_size.width() * m_size.height());
        if (result.data.size() == pixels.size() * 16)
            memcpy(pixels.data(), result.data.constData(), std::size_t(result.data.size()));
        return pixels;
    }

    /// What one effect makes of a picture.
    Pixels drawn(corvane::rendering::PostEffect &effect, QRhiTexture *source)
    {
        return frame([&](QRhiCommandBuffer *commands) {
            effect.initialize(m_rhi.get(), source->pixelSize());
            effect.setRenderPassDescriptor(m_target->renderPassDescriptor());
            effect.prepareFrame(m_rhi.get(), commands, source);
            commands->beginPass(m_target.get(), Qt::magenta, {1.0f, 0});
            if (effect.isActive())
                effect.render(commands, m_size);
            commands->endPass();
        });
    }

    /// For looking at: values from 0 to 1, rows from the first.
    QImage image(const Pixels &pixels) const
    {
        QImage made(m_size, QImage::Format_RGBA8888);
        for (int i = 0; i < pixels.size(); ++i) {
            const auto byte = [&](int channel) {
                return int(qBound(0.0f, pixels[i][channel], 1.0f) * 255.0f + 0.5f);
            };
            made.setPixel(i % m_size.width(), i / m_size.width(),
                          qRgba(byte(0), byte(1), byte(2), 255));
        }
        return made;
    }

private:
    void makeTarget()
    {
        m_color.reset(
            m_rhi->newTexture(QRhiTexture::RGBA32F, m_size, 1,
                              QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
        m_isValid = m_color->create();
        m_target.reset(m_rhi->newTextureRenderTarget({{m_color.get()}}));
        m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
        m_target->setRenderPassDescriptor(m_pass.get());
        m_isValid = m_isValid && m_target->create();
    }

    rhi::RhiPointer m_rhi;
    QSize m_size;
    std::unique_ptr<QRhiTexture> m_color;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
    QRhiResourceUpdateBatch *m_uploads = nullptr;
    bool m_isValid = false;
};
