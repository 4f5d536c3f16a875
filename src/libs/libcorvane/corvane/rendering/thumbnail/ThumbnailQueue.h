#pragma once

#include <QList>
#include <QObject>
#include <QSet>
#include <QSize>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <functional>

namespace corvane::rendering {

/// Paces the preloading of thumbnails, so that what a user waits for never stands behind a long
/// row: one is under way at a time, and the next goes out with the timer after that one is
/// complete. On one thread.
class ThumbnailQueue : public QObject
{
    Q_OBJECT

public:
    struct ThumbnailRequest
    {
        QString id{}; ///< of the definition
        QSize size{};
        QVariantMap parameters{};
        int priority = 0; ///< higher ones go first; equal ones in their order

        bool operator==(const ThumbnailRequest &) const = default;
    };

    /// Starts one. True when its end will come through notifyPreloadItemComplete(), false when
    /// there is nothing to wait for: it was there already, or can't be made.
    using Start = std::function<bool(const ThumbnailRequest &)>;

    static constexpr int intervalMs = 5;

    explicit ThumbnailQueue(Start start, QObject *parent = nullptr);

    /// What waits already is not added again.
    void enqueue(const QList<ThumbnailRequest> &requests);
    void startProcessing();
    /// Forgets what waits; what is under way is not waited for.
    void clear();
    [[nodiscard]] qsizetype waiting() const { return m_waiting.size(); }

    void processNext();
    void notifyPreloadItemComplete();

signals:
    void preloadBatchStarted(int count);
    void preloadBatchProgress(int done, int count);
    void preloadBatchFinished();

private:
    void onTimerTimeout();

    Start m_start;
    QTimer m_timer;
    QList<ThumbnailRequest> m_waiting;
    bool m_isRunning = false;
    bool m_isUnderWay = false;
    int m_done = 0;
    int m_count = 0; ///< of the batch
};

} // namespace corvane::rendering
