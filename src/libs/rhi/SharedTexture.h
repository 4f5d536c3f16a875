#pragma once

#include <rhi/SharedImage.h>

#include <QSize>

#include <array>
#include <memory>

namespace rhi {

/// A picture that a worker draws and a window shows without a copy: a Vulkan image of the worker's
/// device whose memory the window's device imports. It belongs to the producer and its thread, and
/// goes before the device; a frame only points at it, and imageOf() finds out whether it is still
/// there.
///
///     shared->beginFrame(commands);      // the image is the producer's
///     ... at least one pass that draws into shared->texture() ...
///     shared->endFrame(commands);        // and is the window's again
///     rhi->endOffscreenFrame();
///     return shared->frame(++sequence);
///
/// Shape 2 of the hand-over: RGBA8, top row first as the producer's device has it. Where the GPUs
/// can do so (VK_KHR_external_semaphore_fd) frames are ordered by a ring of semaphores, otherwise
/// the producer waits for its device.
class SharedTexture
{
public:
    /// Null when this device cannot share: send pixels then.
    static std::unique_ptr<SharedTexture> create(QRhi *producer, const QSize &size);

    ~SharedTexture();
    SharedTexture(const SharedTexture &) = delete;
    SharedTexture &operator=(const SharedTexture &) = delete;

    QSize size() const { return m_size; }
    QRhiTexture *texture() const { return m_texture.get(); } ///< to draw into
    bool hasSemaphoreRing() const { return m_hasRing; }

    void beginFrame(QRhiCommandBuffer *commands);
    void endFrame(QRhiCommandBuffer *commands);

    /// The finished picture, after QRhi::endOffscreenFrame(); ordered before whoever waits for it.
    WorkerFrame frame(quint64 sequence);

    /// What a window needs of a frame's texture; null when the producer has destroyed it, or the
    /// frame has none. Any thread.
    static std::shared_ptr<SharedImage> imageOf(const WorkerFrame &frame);

private:
    SharedTexture(QRhi *producer, const VulkanSharing &vulkan, const QSize &size);
    bool allocate(SharedImage::Handles &handles);
    void createRing(SharedImage::Handles &handles);
    bool createRingSemaphore(std::size_t index, FileHandle &handle);
    bool signalSlot(quint64 sequence);

    QRhi *const m_rhi;
    const VulkanSharing m_vulkan;
    const QSize m_size;
    VkImage m_vkImage = VK_NULL_HANDLE;
    VkDeviceMemory m_memory = VK_NULL_HANDLE;
    std::array<VkSemaphore, SharedImage::ringDepth> m_ring{};
    bool m_hasRing = false;
    bool m_isGivenAway = false; ///< the window has it, as far as this device is concerned
    std::unique_ptr<QRhiTexture> m_texture;
    std::shared_ptr<SharedImage> m_image;
};

} // namespace rhi
