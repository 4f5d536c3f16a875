#pragma once

#include <rhi/WorkerFrame.h>

#include <QList>

#include <optional>

namespace rhi {

/// The frames that have come and were not drawn yet. A whole picture takes the place of all before
/// it, so that a window that draws nothing, because it is hidden, holds one picture and not
/// thousands. Changes of parts do add up; beyond `largestPending` bytes they are given up, and with
/// them the sequence that the window holds, until a whole picture comes again.
class FrameQueue
{
public:
    static constexpr qsizetype largestPending = qsizetype(256) << 20;

    /// False for a frame whose sequence came before already: a worker sends its last one again to
    /// say that nothing has changed.
    bool add(const WorkerFrame &frame);

    /// What is to be drawn, in order; the queue is empty then.
    QList<WorkerFrame> takeFrames();
    /// What has been passed over since the last call, and must be waited for nevertheless.
    QList<WorkerFrame> takeSuperseded();

    bool isEmpty() const { return m_frames.isEmpty(); }
    std::optional<quint64> lastSequence() const { return m_lastSequence; }

    /// Forgets everything: the next frame is the first.
    void clear();

private:
    void supersede();

    QList<WorkerFrame> m_frames;
    QList<WorkerFrame> m_superseded; ///< shared images only
    qsizetype m_pendingBytes = 0;
    std::optional<quint64> m_lastSequence;
};

} // namespace rhi
