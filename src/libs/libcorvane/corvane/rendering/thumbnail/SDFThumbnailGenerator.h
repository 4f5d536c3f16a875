#pragma once

#include <corvane/rendering/thumbnail/ThumbnailCache.h>
#include <corvane/rendering/thumbnail/ThumbnailQueue.h>
#include <corvane/rendering/thumbnail/ThumbnailSubjects.h>

#include <QHash>
#include <QObject>
#include <QPixmap>
#include <QSet>
#include <QSharedPointer>
#include <QThread>

#include <memory>

class QOffscreenSurface;

namespace corvane::registry {
class Registry;
}

namespace corvane::rendering {

class ThumbnailRHIContext;
class ThumbnailWorker;

/// Small pictures of definitions and scenes: from memory, else from disk, else drawn by a worker,
/// in which case the picture comes by thumbnailReady() and the answer meanwhile is a null pixmap.
/// So a list never waits. What can't be drawn is logged once, with its id, and stays without a
/// picture until its definition changes.
///
/// Where no worker can be started, thumbnails are drawn at once on the calling thread, which is the
/// GUI thread's in any case.
class SDFThumbnailGenerator : public QObject
{
    Q_OBJECT

public:
    /// @param registry  not owned
    /// @param cache     one in the default folder when null
    explicit SDFThumbnailGenerator(registry::Registry *registry,
                                   QSharedPointer<ThumbnailCache> cache = {},
                                   QObject *parent = nullptr);
    ~SDFThumbnailGenerator() override;

    /// With the parameters' defaults where none are given.
    QPixmap generateThumbnail(const QString &id, const QSize &size,
                              const QVariantMap &parameters = {},
                              const std::optional<ThumbnailSection> &section = {});
    /// Of nodes that were built with the indices of the registry; its name in thumbnailReady() is
    /// sceneKey().
    QPixmap generateSceneThumbnail(const QList<shader::SDFNode> &nodes, int rootIndex, int size);
    [[nodiscard]] static QString sceneKey(const QList<shader::SDFNode> &nodes, int size);

    /// Makes thumbnails ahead of their time, behind what is asked for.
    void preload(const QList<ThumbnailQueue::ThumbnailRequest> &requests);
    [[nodiscard]] ThumbnailQueue &queue() { return m_queue; }
    [[nodiscard]] ThumbnailCache &cache() { return *m_cache; }
    /// Draws all anew from now on.
    void clearCache();

signals:
    /// `subject` is the definition's id, or sceneKey().
    void thumbnailReady(const QString &subject, const QPixmap &pixmap);
    void thumbnailFailed(const QString &subject, const QString &error);
    /// The pictures of a definition are out of date.
    void thumbnailInvalidated(const QString &id);

private:
    enum class WorkerState { NotStarted, Starting, Running, Failed };

    /// From memory or disk; null when it is in neither.
    QPixmap known(const QString &key, const QSize &size);
    QPixmap draw(const ThumbnailRenderRequest &request);
    void dispatchRenderToWorker(const ThumbnailRenderRequest &request);
    void startWorker();
    void stopWorker();
    /// The device for drawing without a worker. False, told once, when there is none either.
    bool ensureRhi();
    QPixmap drawHere(const ThumbnailRenderRequest &request);
    bool startPreload(const ThumbnailQueue::ThumbnailRequest &request);
    void onWorkerInitialized(bool ok);
    void onThumbnailRendered(const QString &key, const QImage &image);
    void onRenderFailed(const QString &key, const QString &error);
    void onRegistryPrimitiveChanged(const QString &id);
    void finish(const QString &key);

    registry::Registry *m_registry;
    QSharedPointer<ThumbnailCache> m_cache;
    ThumbnailSubjects m_subjects;
    ThumbnailQueue m_queue;
    std::unique_ptr<QOffscreenSurface> m_surface; ///< before those that draw with it
    std::unique_ptr<ThumbnailWorker> m_worker;
    QThread m_thread;
    std::unique_ptr<ThumbnailRHIContext> m_fallback;
    WorkerState m_workerState = WorkerState::NotStarted;
    bool m_isDisabled = false;
    QHash<QString, ThumbnailRenderRequest> m_underWay; ///< by key
    QSet<QString> m_failed;                            ///< keys
    QString m_preloading;                              ///< key
};

} // namespace corvane::rendering
