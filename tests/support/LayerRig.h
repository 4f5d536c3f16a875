#pragma once

#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/Scene.h>
#include <corvane/rendering/post/PostProcessLayer.h>
#include <rhi/ItemIdTexel.h>
#include <support/PictureRig.h>

#include <QtMath>

/// Layers drawn as a pipeline draws them, by a camera of 45 degrees, into a picture of floats.
class LayerRig
{
public:
    explicit LayerRig(const QSize &size = {96, 96}, rhi::RhiPointer rhi = nullptr)
        : m_picture(size, std::move(rhi))
    {
        m_context.rhi = m_picture.rhi();
        lookFrom({0, 0, 5});
    }
    ~LayerRig() { release(); }

    bool isValid() const { return m_picture.isValid(); }
    corvane::rendering::Scene &scene() { return m_scene; }
    corvane::rendering::RhiContext &context() { return m_context; }
    PictureRig &picture() { return m_picture; }

    template<class T, class... Arguments>
    T &add(Arguments &&...arguments)
    {
        return static_cast<T &>(
            *m_scene.addLayer(std::make_unique<T>(std::forward<Arguments>(arguments)...)));
    }

    void lookFrom(const QVector3D &eye, const QVector3D &target = {})
    {
        m_context.eye = eye;
        m_context.view.setToIdentity();
        m_context.view.lookAt(eye, target, {0, 1, 0});
        m_context.projection.setToIdentity();
        m_context.projection.perspective(
            45, float(m_picture.size().width()) / float(m_picture.size().height()), 0.1f, 1000);
    }

    /// Linear colour, or what a PostProcessLayer of the scene made of it; rows from the top.
    PictureRig::Pixels draw(bool withGBuffer = true, int samples = 1)
    {
        const bool isFinished =
            m_scene.findLayer<corvane::rendering::PostProcessLayer>() != nullptr;
        const PictureRig::Pixels pixels = m_picture.frame([&](QRhiCommandBuffer *commands) {
            m_context.commandBuffer = commands;
            QString error;
            m_context.ensureOffscreen(m_context.rhi, m_picture.size(), samples, &error);
            m_context.setRenderTarget(m_context.offscreen.renderTarget());
            m_scene.initialize(m_context);
            m_scene.update(m_context, 16);
            m_context.flushResourceUpdates();
            if (withGBuffer)
                m_scene.renderGeometry(m_context);
            commands->beginPass(m_context.renderTarget, m_scene.clearColor(), {1.0f, 0},
                                m_context.takeResourceUpdates());
            m_scene.renderPre(m_context);
            commands->endPass();
            m_context.setRenderTarget(m_picture.target());
            if (isFinished)
                m_scene.renderPost(m_context);
            else
                m_copy.run(m_context.rhi, commands, m_context.offscreen.color(), m_picture.target(),
                           {});
        });
        return m_context.rhi->isYUpInFramebuffer() ? flipped(pixels) : pixels;
    }

    QVector4D at(const PictureRig::Pixels &pixels, int x, int y) const
    {
        return pixels[y * m_picture.size().width() + x];
    }

    /// What the G-buffer has at a pixel from the top left.
    quint32 itemIdAt(int x, int y)
    {
        QRhiReadbackResult result;
        m_picture.frame([&](QRhiCommandBuffer *commands) {
            QRhiResourceUpdateBatch *const updates = m_context.rhi->nextResourceUpdateBatch();
            updates->readBackTexture({m_context.gBuffer.itemId()}, &result);
            commands->resourceUpdate(updates);
        });
        const int row = m_context.rhi->isYUpInFramebuffer() ? m_picture.size().height() - 1 - y : y;
        const qsizetype place = (qsizetype(row) * m_picture.size().width() + x) * 4;
        rhi::ItemIdTexel texel{};
        for (std::size_t i = 0; i < 4; ++i)
            texel[i] = quint8(result.data.at(place + qsizetype(i)));
        return rhi::unpackItemId(texel);
    }

    void release()
    {
        m_scene.releaseResources();
        m_copy.release();
        m_context.offscreen.release();
        m_context.gBuffer.release();
    }

private:
    PictureRig::Pixels flipped(const PictureRig::Pixels &pixels) const
    {
        PictureRig::Pixels turned;
        for (int y = m_picture.size().height() - 1; y >= 0; --y)
            turned += pixels.mid(qsizetype(y) * m_picture.size().width(), m_picture.size().width());
        return turned;
    }

    PictureRig m_picture;
    corvane::rendering::Scene m_scene;
    corvane::rendering::RhiContext m_context;
    corvane::rendering::PostChain m_copy;
};
