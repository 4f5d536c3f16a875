#include <rhi/SharedImage.h>

#include <QLoggingCategory>
#include <QMutexLocker>

#include <algorithm>

namespace rhi {

Q_LOGGING_CATEGORY(lcSharedImage, "ondrel.rhi.sharedimage", QtWarningMsg)

namespace {

std::size_t slotOf(quint64 sequence)
{
    return sequence % SharedImage::ringDepth;
}

} // namespace

SharedImage::SharedImage(Handles handles)
    : m_handles(std::move(handles))
{}

SharedImage::~SharedImage() = default;

QRhiTexture *SharedImage::importInto(QRhi *consumer)
{
    if (const Consumer *const known = find(consumer))
        return known->texture.get();
    auto made = std::make_unique<Consumer>();
    made->rhi = consumer;
    const std::optional<VulkanSharing> vulkan = VulkanSharing::of(consumer);
    if (!vulkan || vulkan->deviceId != m_handles.deviceId) {
        qCWarning(lcSharedImage) << "importInto: consumer not on the producer's physical device — "
                                    "falling back to readback";
        return nullptr;
    }
    made->vulkan = *vulkan;
    if (!makeImage(*made) || !makeTexture(*made)) {
        qCWarning(lcSharedImage) << "importInto: the image could not be imported";
        destroy(*made);
        return nullptr;
    }
    consumer->addCleanupCallback([self = weak_from_this()](QRhi *gone) {
        if (const auto image = self.lock())
            image->releaseConsumer(gone);
    });
    QRhiTexture *const texture = made->texture.get();
    const QMutexLocker lock(&m_mutex);
    m_consumers.push_back(std::move(made));
    return texture;
}

bool SharedImage::waitForFrame(QRhi *consumer, const WorkerFrame &frame)
{
    if (!(frame.flags & WorkerFrame::Signalled))
        return true;
    Consumer *const entry = find(consumer);
    if (!entry)
        return false;
    collectFinishedWaits(*entry);
    const VkSemaphore semaphore = importedSemaphoreForFrame(*entry, frame.sequence);
    Slot &slot = entry->ring[slotOf(frame.sequence)];
    if (semaphore == VK_NULL_HANDLE || slot.isWaiting)
        return false;
    // An empty submission: its wait holds back all that this queue is given later.
    const VkPipelineStageFlags stages = VK_PIPELINE_STAGE_ALL_COMMANDS_BIT;
    VkSubmitInfo submission{};
    submission.sType = VK_STRUCTURE_TYPE_SUBMIT_INFO;
    submission.waitSemaphoreCount = 1;
    submission.pWaitSemaphores = &semaphore;
    submission.pWaitDstStageMask = &stages;
    slot.isWaiting =
        entry->vulkan.queueSubmit(entry->vulkan.queue, 1, &submission, slot.fence) == VK_SUCCESS;
    return slot.isWaiting;
}

void SharedImage::takeOver(QRhi *consumer, QRhiCommandBuffer *commands)
{
    if (const Consumer *const entry = find(consumer))
        entry->vulkan.takeOver(commands, entry->image);
}

void SharedImage::giveBack(QRhi *consumer, QRhiCommandBuffer *commands)
{
    if (const Consumer *const entry = find(consumer))
        entry->vulkan.giveAway(commands, entry->image);
}

void SharedImage::releaseConsumer(QRhi *consumer)
{
    std::unique_ptr<Consumer> released;
    {
        const QMutexLocker lock(&m_mutex);
        const auto entry =
            std::find_if(m_consumers.begin(), m_consumers.end(),
                         [consumer](const auto &each) { return each->rhi == consumer; });
        if (entry == m_consumers.end())
            return;
        released = std::move(*entry);
        m_consumers.erase(entry);
    }
    destroy(*released);
}

bool SharedImage::takeSlot(quint64 sequence)
{
    const QMutexLocker lock(&m_mutex);
    const bool isUsable = m_handles.semaphores.front().isValid() && m_consumers.size() == 1;
    return isUsable && !m_isSlotTaken[slotOf(sequence)].exchange(true);
}

SharedImage::Consumer *SharedImage::find(QRhi *rhi)
{
    const QMutexLocker lock(&m_mutex);
    const auto entry = std::find_if(m_consumers.begin(), m_consumers.end(),
                                    [rhi](const auto &each) { return each->rhi == rhi; });
    return entry == m_consumers.end() ? nullptr : entry->get();
}

bool SharedImage::makeImage(Consumer &consumer) const
{
    const VulkanSharing &vulkan = consumer.vulkan;
    consumer.image = vulkan.createSharedImage(m_handles.size);
    if (consumer.image == VK_NULL_HANDLE)
        return false;
    VkMemoryRequirements needs{};
    vulkan.getImageMemoryRequirements(vulkan.device, consumer.image, &needs);
    const int type = vulkan.memoryTypeFor(needs.memoryTypeBits);
    FileHandle handle = m_handles.memory.duplicate(); // a successful import takes it
    VkMemoryDedicatedAllocateInfo dedicated{};
    dedicated.sType = VK_STRUCTURE_TYPE_MEMORY_DEDICATED_ALLOCATE_INFO;
    dedicated.image = consumer.image;
    VkImportMemoryFdInfoKHR import{};
    import.sType = VK_STRUCTURE_TYPE_IMPORT_MEMORY_FD_INFO_KHR;
    import.pNext = &dedicated;
    import.handleType = VK_EXTERNAL_MEMORY_HANDLE_TYPE_OPAQUE_FD_BIT;
    import.fd = handle.get();
    VkMemoryAllocateInfo allocation{};
    allocation.sType = VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO;
    allocation.pNext = &import;
    allocation.allocationSize = m_handles.memoryBytes;
    allocation.memoryTypeIndex = quint32(type);
    if (type < 0 || !handle.isValid() ||
        vulkan.allocateMemory(vulkan.device, &allocation, nullptr, &consumer.memory) != VK_SUCCESS)
        return false;
    handle.release();
    return vulkan.bindImageMemory(vulkan.device, consumer.image, consumer.memory, 0) == VK_SUCCESS;
}

bool SharedImage::makeTexture(Consumer &consumer) const
{
    consumer.texture.reset(consumer.rhi->newTexture(QRhiTexture::RGBA8, m_handles.size));
    // The producer leaves it in the layout for being drawn from, and the change of hands keeps
    // that.
    return consumer.texture->createFrom(
        {quint64(consumer.image), VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL});
}

VkSemaphore SharedImage::importedSemaphoreForFrame(Consumer &consumer, quint64 sequence)
{
    const std::size_t index = slotOf(sequence);
    Slot &slot = consumer.ring[index];
    const VulkanSharing &vulkan = consumer.vulkan;
    FileHandle handle = m_handles.semaphores[index].duplicate();
    if (slot.semaphore != VK_NULL_HANDLE || !handle.isValid() || !vulkan.hasSemaphores)
        return slot.semaphore;
    VkFenceCreateInfo fenceInfo{};
    fenceInfo.sType = VK_STRUCTURE_TYPE_FENCE_CREATE_INFO;
    VkSemaphoreCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO;
    VkSemaphore semaphore = VK_NULL_HANDLE;
    if ((slot.fence == VK_NULL_HANDLE &&
         vulkan.createFence(vulkan.device, &fenceInfo, nullptr, &slot.fence) != VK_SUCCESS) ||
        vulkan.createSemaphore(vulkan.device, &info, nullptr, &semaphore) != VK_SUCCESS)
        return VK_NULL_HANDLE;
    VkImportSemaphoreFdInfoKHR import{};
    import.sType = VK_STRUCTURE_TYPE_IMPORT_SEMAPHORE_FD_INFO_KHR;
    import.semaphore = semaphore;
    import.handleType = VK_EXTERNAL_SEMAPHORE_HANDLE_TYPE_OPAQUE_FD_BIT;
    import.fd = handle.get();
    if (vulkan.importSemaphoreFd(vulkan.device, &import) != VK_SUCCESS) {
        vulkan.destroySemaphore(vulkan.device, semaphore, nullptr);
        return VK_NULL_HANDLE;
    }
    handle.release();
    slot.semaphore = semaphore;
    return semaphore;
}

void SharedImage::collectFinishedWaits(Consumer &consumer)
{
    const VulkanSharing &vulkan = consumer.vulkan;
    for (std::size_t i = 0; i < consumer.ring.size(); ++i) {
        Slot &slot = consumer.ring[i];
        if (!slot.isWaiting || vulkan.getFenceStatus(vulkan.device, slot.fence) != VK_SUCCESS)
            continue;
        vulkan.resetFences(vulkan.device, 1, &slot.fence);
        slot.isWaiting = false;
        m_isSlotTaken[i] = false;
    }
}

void SharedImage::destroy(Consumer &consumer)
{
    consumer.texture.reset();
    consumer.rhi->finish(); // nothing is drawn from it any more, and its views are gone
    collectFinishedWaits(consumer);
    const VulkanSharing &vulkan = consumer.vulkan;
    for (const Slot &slot : consumer.ring) {
        if (slot.semaphore != VK_NULL_HANDLE)
            vulkan.destroySemaphore(vulkan.device, slot.semaphore, nullptr);
        if (slot.fence != VK_NULL_HANDLE)
            vulkan.destroyFence(vulkan.device, slot.fence, nullptr);
    }
    if (consumer.image != VK_NULL_HANDLE)
        vulkan.destroyImage(vulkan.device, consumer.image, nullptr);
    if (consumer.memory != VK_NULL_HANDLE)
        vulkan.freeMemory(vulkan.device, consumer.memory, nullptr);
}

} // namespace rhi
