#pragma once

#include <rhi/FileHandle.h>
#include <rhi/VulkanSharing.h>
#include <rhi/WorkerFrame.h>

#include <QMutex>

#include <array>
#include <atomic>
#include <memory>
#include <vector>

namespace rhi {

/// What the world outside the producer's thread has of a SharedTexture: the memory and the
/// semaphores as handles, and what consumers made of them. It may outlive the texture; its picture
/// then stays as it is.
///
/// A consumer is a QRhi of another thread on the same GPU. Its functions are called on its thread.
class SharedImage : public std::enable_shared_from_this<SharedImage>
{
public:
    static constexpr int ringDepth = 3;

    /// What a producer gives out.
    struct Handles
    {
        QSize size{};
        quint64 memoryBytes = 0;
        FileHandle memory{};
        std::array<FileHandle, ringDepth> semaphores{}; ///< all or none
        VulkanSharing::DeviceId deviceId{};
    };

    explicit SharedImage(Handles handles);
    ~SharedImage(); ///< after releaseConsumer() of each
    SharedImage(const SharedImage &) = delete;
    SharedImage &operator=(const SharedImage &) = delete;

    QSize size() const { return m_handles.size; }

    /// The image as a texture of the consumer, made at its first call. Null when it cannot be made:
    /// the log says why, and the producer should send pixels.
    QRhiTexture *importInto(QRhi *consumer);

    /// Makes what the consumer draws from now on wait for the frame, and gives its slot back to the
    /// producer once that is done. Every frame that was signalled (WorkerFrame::Signalled) must be
    /// waited for, shown or not. False when it cannot be.
    bool waitForFrame(QRhi *consumer, const WorkerFrame &frame);

    /// Around drawing from the texture, outside a pass.
    void takeOver(QRhi *consumer, QRhiCommandBuffer *commands);
    void giveBack(QRhi *consumer, QRhiCommandBuffer *commands);

    /// Destroys what the consumer made. Also happens when the consumer is destroyed.
    void releaseConsumer(QRhi *consumer);

    /// For the producer: takes the slot of a frame if its last wait is over. With several consumers
    /// none can be taken, since only one may wait for a semaphore.
    bool takeSlot(quint64 sequence);

private:
    struct Slot
    {
        VkSemaphore semaphore = VK_NULL_HANDLE;
        VkFence fence = VK_NULL_HANDLE; ///< of the wait
        bool isWaiting = false;
    };
    struct Consumer
    {
        QRhi *rhi = nullptr;
        VulkanSharing vulkan{};
        VkImage image = VK_NULL_HANDLE;
        VkDeviceMemory memory = VK_NULL_HANDLE;
        std::unique_ptr<QRhiTexture> texture{};
        std::array<Slot, ringDepth> ring{};
    };

    Consumer *find(QRhi *rhi);
    bool makeImage(Consumer &consumer) const;
    bool makeTexture(Consumer &consumer) const;
    VkSemaphore importedSemaphoreForFrame(Consumer &consumer, quint64 sequence);
    void collectFinishedWaits(Consumer &consumer);
    void destroy(Consumer &consumer);

    const Handles m_handles;
    QMutex m_mutex; ///< of the list, not of what a consumer has
    std::vector<std::unique_ptr<Consumer>> m_consumers;
    std::array<std::atomic<bool>, ringDepth> m_isSlotTaken{};
};

} // namespace rhi
