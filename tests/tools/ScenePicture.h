#pragma once

#include <corvane/rendering/DepthCopy.h>
#include <corvane/rendering/RenderPipeline.h>
#include <rhi/OffscreenRhi.h>

#include <QByteArray>
#include <QImage>

#include <memory>

/// Draws a RenderPipeline into a picture in memory, and reads what the G-buffer holds. All planes
/// have their first row at the top.
class ScenePicture
{
public:
    /// The device outlives the picture.
    ScenePicture(QRhi *rhi, const QSize &size);
    ~ScenePicture();

    corvane::rendering::RenderPipeline &pipeline() { return *m_pipeline; }
    QSize size() const { return m_color->pixelSize(); }

    /// One frame. A null picture, with the reason in error(), when it failed.
    QImage draw();
    QString error() const { return m_error; }

    // Of the last frame
    QByteArray depths();  ///< float32, as it was written
    QByteArray normals(); ///< three float32 a pixel
    QByteArray itemIds(); ///< uint32

private:
    QByteArray readBack(QRhiTexture *texture);
    QByteArray fromTop(const QByteArray &rows, int bytesPerPixel, const QSize &size) const;

    QRhi *const m_rhi;
    std::unique_ptr<QRhiTexture> m_color;
    std::unique_ptr<QRhiRenderBuffer> m_depth;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
    std::unique_ptr<corvane::rendering::RenderPipeline> m_pipeline;
    corvane::rendering::DepthCopy m_depthCopy;
    QString m_error;
};
