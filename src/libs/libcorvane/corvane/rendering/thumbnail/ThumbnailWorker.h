#pragma once

#include <corvane/rendering/thumbnail/ThumbnailCache.h>
#include <corvane/rendering/thumbnail/ThumbnailRenderRequest.h>
#include <rhi/QRhiCompat.h>

#include <QImage>
#include <QObject>
#include <QSharedPointer>

#include <atomic>
#include <memory>

class QOffscreenSurface;

namespace corvane::rendering {

class ThumbnailRHIContext;

/// Draws thumbnails on a thread of its own, one at a time. All slots run there, through queued
/// calls; the signals are for queued connections.
class ThumbnailWorker : public QObject
{
    Q_OBJECT

public:
    /// @param cache    where pictures are saved; may be null
    /// @param surface  for OpenGL; not owned, may be null
    ThumbnailWorker(QSharedPointer<ThumbnailCache> cache, QOffscreenSurface *surface);
    ~ThumbnailWorker() override;

    /// From any thread: requests that wait are dropped from now on, so that shutdown() comes soon.
    void cancelWaiting() { m_isStopping.store(true); }

public slots:
    /// Starts the device, and says how that went.
    void initialize(const QShader &vertexShader);
    void renderThumbnail(const corvane::rendering::ThumbnailRenderRequest &request);
    /// Ends the device. To be called before the thread ends.
    void shutdown();

signals:
    void initialized(bool ok);
    void thumbnailRendered(const QString &key, const QImage &image);
    void renderFailed(const QString &key, const QString &error);

private:
    QSharedPointer<ThumbnailCache> m_cache;
    QOffscreenSurface *m_surface;
    std::unique_ptr<ThumbnailRHIContext> m_context;
    std::atomic_bool m_isStopping = false;
};

} // namespace corvane::rendering
