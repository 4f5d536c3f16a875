#include <corvane/rendering/thumbnail/ThumbnailQueue.h>

#include <algorithm>

namespace corvane::rendering {

ThumbnailQueue::ThumbnailQueue(Start start, QObject *parent)
    : QObject(parent)
    , m_start(std::move(start))
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(intervalMs);
    connect(&m_timer, &QTimer::timeout, this, &ThumbnailQueue::onTimerTimeout);
}

void ThumbnailQueue::enqueue(const QList<ThumbnailRequest> &requests)
{
    for (const ThumbnailRequest &request : requests) {
        if (m_waiting.contains(request))
            continue;
        const auto behind =
            std::find_if(m_waiting.cbegin(), m_waiting.cend(), [&](const ThumbnailRequest &other) {
                return other.priority < request.priority;
            });
        m_waiting.insert(behind, request);
        if (m_isRunning)
            ++m_count;
    }
}

void ThumbnailQueue::startProcessing()
{
    if (m_isRunning || m_waiting.isEmpty())
        return;
    m_isRunning = true;
    m_done = 0;
    m_count = int(m_waiting.size());
    emit preloadBatchStarted(m_count);
    m_timer.start();
}

void ThumbnailQueue::clear()
{
    m_waiting.clear();
    m_timer.stop();
    m_isUnderWay = false;
    if (std::exchange(m_isRunning, false))
        emit preloadBatchFinished();
}

void ThumbnailQueue::processNext()
{
    if (!m_isRunning || m_isUnderWay)
        return;
    if (m_waiting.isEmpty()) {
        m_isRunning = false;
        emit preloadBatchFinished();
        return;
    }
    m_isUnderWay = true;
    if (!m_start(m_waiting.takeFirst()))
        notifyPreloadItemComplete();
}

void ThumbnailQueue::notifyPreloadItemComplete()
{
    if (!m_isRunning || !std::exchange(m_isUnderWay, false))
        return;
    emit preloadBatchProgress(++m_done, m_count);
    m_timer.start();
}

void ThumbnailQueue::onTimerTimeout()
{
    processNext();
}

} // namespace corvane::rendering
