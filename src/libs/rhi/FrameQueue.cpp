#include <rhi/FrameQueue.h>

#include <QLoggingCategory>

#include <utility>

namespace rhi {

Q_LOGGING_CATEGORY(lcFrames, "ondrel.rhi.frames", QtWarningMsg)

bool FrameQueue::add(const WorkerFrame &frame)
{
    if (m_lastSequence == frame.sequence)
        return false;
    if (frame.damage.isNull())
        supersede();
    m_lastSequence = frame.sequence;
    m_pendingBytes += frame.pixels.size();
    m_frames.append(frame);
    if (m_pendingBytes > largestPending) {
        qCWarning(lcFrames) << "too many changes wait to be drawn: they are dropped until a whole "
                               "picture comes";
        clear();
    }
    return true;
}

QList<WorkerFrame> FrameQueue::takeFrames()
{
    m_pendingBytes = 0;
    return std::exchange(m_frames, {});
}

QList<WorkerFrame> FrameQueue::takeSuperseded()
{
    return std::exchange(m_superseded, {});
}

void FrameQueue::clear()
{
    supersede();
    m_lastSequence.reset();
}

void FrameQueue::supersede()
{
    for (const WorkerFrame &frame : std::as_const(m_frames)) {
        if (frame.sharedTexture)
            m_superseded.append(frame);
    }
    m_frames.clear();
    m_pendingBytes = 0;
}

} // namespace rhi
