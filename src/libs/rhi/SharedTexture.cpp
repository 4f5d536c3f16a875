#include <rhi/SharedTexture.h>

#include <QHash>
#include <QLoggingCategory>
#include <QMutex>

namespace rhi {

Q_LOGGING_CATEGORY(lcSharedTexture, "ondrel.rhi.sharedtexture", QtInfoMsg)

namespace {

/// The textures that live: a frame may arrive after the one that it points at has gone.
struct LivingTextures
{
    QMutex mutex;
    QHash<const SharedTexture *, std::shared_ptr<SharedImage>> images;
};

LivingTextures &livingTextures()
{
    static auto *const living = new LivingTextures;
    return *living;
}

} // namespace

std::unique_ptr<SharedTexture> SharedTexture::create(QRhi *producer, const QSize &size)
{
    const std::optional<VulkanSharing> vulkan = VulkanSharing::of(producer);
    if (!vulkan || size.isEmpty() || !vulkan->canShareImages())
        return nullptr;
    std::unique_ptr<SharedTexture> shared(new SharedTexture(producer, *vulkan, size));
    SharedImage::Handles handles{.size = size, .deviceId = vulkan->deviceId};
    if (!shared->allocate(handles))
        return nullptr;
    shared->createRing(handles);
    shared->m_image = std::make_shared<SharedImage>(std::move(handles));
    const QMutexLocker lock(&livingTextures().mutex);
    livingTextures().images.insert(shared.get(), shared->m_image);
    return shared;
}

SharedTexture::SharedTexture(QRhi *producer, const VulkanSharing &vulkan, const QSize &size)
    : m_rhi(producer)
    , m_vulkan(vulkan)
    , m_size(size)
{}

SharedTexture::~SharedTexture()
{
    {
        const QMutexLocker lock(&livingTextures().mutex);
        livingTextures().images.remove(this);
    }
    m_texture.reset();
    m_rhi->finish(); // nothing is drawn into it any more, and its views are gone
    for (const VkSemaphore semaphore : m_ring) {
        if (semaphore != VK_NULL_HANDLE)
            m_vulkan.destroySemaphore(m_vulkan.device, semaphore, nullptr);
    }
    if (m_vkImage != VK_NULL_HANDLE)
        m_vulkan.destroyImage(m_vulkan.device, m_vkImage, nullptr);
    if (m_memory != VK_NULL_HANDLE)
        m_vulkan.freeMemory(m_vulkan.device, m_memory, nullptr);
}

void SharedTexture::beginFrame(QRhiCommandBuffer *commands)
{
    if (std::exchange(m_isGivenAway, false))
        m_vulkan.takeOver(commands, m_vkImage);
}

void SharedTexture::endFrame(QRhiCommandBuffer *commands)
{
    const int layout = m_texture->nativeTexture().layout;
    m_vulkan.giveAway(commands, m_vkImage, static_cast<VkImageLayout>(layout));
    m_texture->setNativeLayout(VulkanSharing::sharedLayout);
    m_isGivenAway = true;
}

WorkerFrame SharedTexture::frame(quint64 sequence)
{
    WorkerFrame frame{.size = m_size,
                      .sequence = sequence,
                      .flags = WorkerFrame::TopDown,
                      .nativeTexture = quint64(m_vkImage),
                      .sharedTexture = this,
                      .nativeLayout = m_texture->nativeTexture().layout};
    if (signalSlot(sequence))
        frame.flags |= WorkerFrame::Signalled;
    else
        m_rhi->finish();
    return frame;
}

std::shared_ptr<SharedImage> SharedTexture::imageOf(const WorkerFrame &frame)
{
    LivingTextures &living = livingTextures();
    const QMutexLocker lock(&living.mutex);
    return frame.sharedTexture ? living.images.value(frame.sharedTexture) : nullptr;
}

bool SharedTexture::allocate(SharedImage::Handles &handles)
{
    m_vkImage = m_vulkan.createSharedImage(m_size);
    if (m_vkImage == VK_NULL_HANDLE)
        return false;
    VkMemoryRequirements needs{};
    m_vulkan.getImageMemoryRequirements(m_vulkan.device, m_vkImage, &needs);
    const int type = m_vulkan.memoryTypeFor(needs.memoryTypeBits);
    VkMemoryDedicatedAllocateInfo dedicated{};
    dedicated.sType = VK_STRUCTURE_TYPE_MEMORY_DEDICATED_ALLOCATE_INFO;
    dedicated.image = m_vkImage;
    VkExportMemoryAllocateInfo exported{};
    exported.sType = VK_STRUCTURE_TYPE_EXPORT_MEMORY_ALLOCATE_INFO;
    exported.pNext = &dedicated;
    exported.handleTypes = VK_EXTERNAL_MEMORY_HANDLE_TYPE_OPAQUE_FD_BIT;
    VkMemoryAllocateInfo allocation{};
    allocation.sType = VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO;
    allocation.pNext = &exported;
    allocation.allocationSize = needs.size;
    allocation.memoryTypeIndex = quint32(type);
    if (type < 0 ||
        m_vulkan.allocateMemory(m_vulkan.device, &allocation, nullptr, &m_memory) != VK_SUCCESS ||
        m_vulkan.bindImageMemory(m_vulkan.device, m_vkImage, m_memory, 0) != VK_SUCCESS)
        return false;
    VkMemoryGetFdInfoKHR wanted{};
    wanted.sType = VK_STRUCTURE_TYPE_MEMORY_GET_FD_INFO_KHR;
    wanted.memory = m_memory;
    wanted.handleType = VK_EXTERNAL_MEMORY_HANDLE_TYPE_OPAQUE_FD_BIT;
    int fd = -1;
    if (m_vulkan.getMemoryFd(m_vulkan.device, &wanted, &fd) != VK_SUCCESS)
        return false;
    handles.memory = FileHandle(fd);
    handles.memoryBytes = needs.size;
    m_texture.reset(m_rhi->newTexture(QRhiTexture::RGBA8, m_size, 1, QRhiTexture::RenderTarget));
    return m_texture->createFrom({quint64(m_vkImage), VK_IMAGE_LAYOUT_UNDEFINED});
}

void SharedTexture::createRing(SharedImage::Handles &handles)
{
    m_hasRing = m_vulkan.hasSemaphores;
    for (std::size_t i = 0; i < m_ring.size() && m_hasRing; ++i)
        m_hasRing = createRingSemaphore(i, handles.semaphores[i]);
    if (m_hasRing)
        return;
    handles.semaphores = {};
    qCInfo(lcSharedTexture) << "semaphore ring alloc failed — V1 finish() sync";
}

bool SharedTexture::createRingSemaphore(std::size_t index, FileHandle &handle)
{
    VkExportSemaphoreCreateInfo exported{};
    exported.sType = VK_STRUCTURE_TYPE_EXPORT_SEMAPHORE_CREATE_INFO;
    exported.handleTypes = VK_EXTERNAL_SEMAPHORE_HANDLE_TYPE_OPAQUE_FD_BIT;
    VkSemaphoreCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO;
    info.pNext = &exported;
    if (m_vulkan.createSemaphore(m_vulkan.device, &info, nullptr, &m_ring[index]) != VK_SUCCESS)
        return false;
    VkSemaphoreGetFdInfoKHR wanted{};
    wanted.sType = VK_STRUCTURE_TYPE_SEMAPHORE_GET_FD_INFO_KHR;
    wanted.semaphore = m_ring[index];
    wanted.handleType = VK_EXTERNAL_SEMAPHORE_HANDLE_TYPE_OPAQUE_FD_BIT;
    int fd = -1;
    if (m_vulkan.getSemaphoreFd(m_vulkan.device, &wanted, &fd) != VK_SUCCESS)
        return false;
    handle = FileHandle(fd);
    return true;
}

// An empty submission: it signals after all that this queue was given before.
bool SharedTexture::signalSlot(quint64 sequence)
{
    if (!m_hasRing || !m_image->takeSlot(sequence))
        return false;
    VkSubmitInfo submission{};
    submission.sType = VK_STRUCTURE_TYPE_SUBMIT_INFO;
    submission.signalSemaphoreCount = 1;
    submission.pSignalSemaphores = &m_ring[sequence % m_ring.size()];
    return m_vulkan.queueSubmit(m_vulkan.queue, 1, &submission, VK_NULL_HANDLE) == VK_SUCCESS;
}

} // namespace rhi
