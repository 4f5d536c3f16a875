#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QRect>
#include <QSize>

namespace rhi {

class SharedTexture;

/// A finished picture on its way from a render worker to the window. Copying it copies no pixels.
///
/// It carries its picture in one of two ways: as `pixels`, or, with nothing in them, as the image
/// of a SharedTexture that the window draws straight from.
struct WorkerFrame
{
    /// What a window has to know about a shared image.
    enum Flag : quint64 {
        TopDown = 1,   ///< a shared image whose first row is the upper one; `pixels` always are
        Signalled = 2, ///< the semaphore of its slot is to be waited for
    };

    QSize size{}; ///< of the whole picture, in pixels
    quint64 sequence =
        0; ///< of the same worker, ascending; what the window holds it does not take again
    quint64 flags = 0;   ///< of Flag
    QByteArray pixels{}; ///< rows from the top, tightly packed; of `damage` alone when there is one
    QRect damage{};      ///< the part that `pixels` replaces; null is the whole picture
    quint64 nativeTexture = 0;              ///< a VkImage of the worker's device
    SharedTexture *sharedTexture = nullptr; ///< of the producer, not of the frame
    qint32 nativeLayout = 0;                ///< VkImageLayout that the image was left in

    bool operator==(const WorkerFrame &) const = default;

    /// Whether there is nothing to show: such a frame is not sent.
    bool isEmpty() const
    {
        return size.isEmpty() && pixels.isEmpty() && nativeTexture == 0 && !sharedTexture;
    }
};

} // namespace rhi

Q_DECLARE_METATYPE(rhi::WorkerFrame)
