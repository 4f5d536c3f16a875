#include <eval/gpu/GpuDevice.h>

#include <concurrency/startThread.h>
#include <eval/gpu/GpuProgram.h>
#include <rhi/BackendCaps.h>
#include <rhi/HeadlessPlatform.h>
#include <rhi/RenderDevice.h>
#include <rhi/VulkanInstance.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QOffscreenSurface>
#include <QSemaphore>
#include <QThread>

namespace eval::gpu {

Q_LOGGING_CATEGORY(lcGpuDevice, "ondrel.eval.gpu.program", QtWarningMsg)

namespace {

constexpr int fragmentTargets = 4;
constexpr int surfaceWaitMs = 5000;

std::unique_ptr<QOffscreenSurface> makeSurfaceHere()
{
    auto surface = std::make_unique<QOffscreenSurface>();
    surface->setFormat(rhi::preferredOffscreenSurfaceFormat());
    surface->create();
    return surface->isValid() ? std::move(surface) : nullptr;
}

/// Surfaces belong to the main thread, which may be waiting for the caller: so the wait ends.
std::unique_ptr<QOffscreenSurface> makeSurface()
{
    if (!rhi::hasGuiApplication())
        return nullptr;
    QCoreApplication *const application = QCoreApplication::instance();
    if (QThread::currentThread() == application->thread())
        return makeSurfaceHere();
    struct Made
    {
        std::unique_ptr<QOffscreenSurface> surface;
        QSemaphore ready;
    };
    const auto made = std::make_shared<Made>();
    QMetaObject::invokeMethod(
        application,
        [made] {
            made->surface = makeSurfaceHere();
            made->ready.release();
        },
        Qt::QueuedConnection);
    return made->ready.tryAcquire(1, surfaceWaitMs) ? std::move(made->surface) : nullptr;
}

const char *laneName(GpuLane lane)
{
    return lane == GpuLane::Compute ? "compute" : lane == GpuLane::Fragment ? "fragment" : "none";
}

} // namespace

GpuLane detectLane(QRhi *rhi, GpuLane forcedLane)
{
    const rhi::BackendCaps caps = rhi::queryBackendCaps(rhi);
    if (caps.computeSupported && forcedLane != GpuLane::Fragment)
        return GpuLane::Compute;
    const bool hasTargets = caps.rgba32fSupported && caps.maxColorAttachments >= fragmentTargets;
    return hasTargets && forcedLane != GpuLane::Compute ? GpuLane::Fragment : GpuLane::None;
}

/// Never destroyed: a thread that still evaluates at the exit of the process may use it.
GpuDevice &GpuDevice::instance()
{
    static auto *const device = new GpuDevice;
    return *device;
}

bool GpuDevice::isAvailable()
{
    std::call_once(m_tried, [this] { tryInitialise(); });
    return m_lane != GpuLane::None;
}

void GpuDevice::tryInitialise()
{
    if (startThread()) {
        bool isFound = false;
        run([&] { isFound = createRhi(); });
        if (!isFound && QCoreApplication::instance()) {
            m_surface = makeSurface();
            run([&] { isFound = createRhi(); });
        }
        if (isFound) {
            qCInfo(lcGpuDevice) << "tryInitialise: lane=" << laneName(m_lane);
            return;
        }
        stopThread();
    }
    qCInfo(lcGpuDevice) << "tryInitialise: no GPU-evaluation-capable QRhi backend reachable "
                           "(neither compute nor fragment lane) — Backend::Gpu unavailable on this "
                           "host";
}

bool GpuDevice::createRhi()
{
    for (const bool isVulkan : {true, false}) {
        rhi::RhiPointer rhi = isVulkan ? tryCreateVulkanRhi() : tryCreateGlesRhi();
        const GpuLane lane = detectLane(rhi.get());
        if (lane == GpuLane::None)
            continue;
        m_rhi = std::move(rhi);
        m_handle = m_rhi.get();
        m_lane = lane;
        return true;
    }
    return false;
}

rhi::RhiPointer GpuDevice::tryCreateVulkanRhi()
{
    QVulkanInstance *const instance = rhi::sharedVulkanInstance();
    if (!instance) {
        qCInfo(lcGpuDevice) << "tryCreateVulkanRhi: rhi::createOffscreenVulkanInstance() returned "
                               "null — Vulkan unavailable";
        return nullptr;
    }
    rhi::RhiPointer rhi =
        rhi::createVulkanRhi(instance, rhi::selectOffscreenRenderDevice(instance));
    if (!rhi)
        qCInfo(lcGpuDevice) << "tryCreateVulkanRhi: QRhi::create(Vulkan) failed — driver issue";
    return rhi;
}

rhi::RhiPointer GpuDevice::tryCreateGlesRhi()
{
    if (!QCoreApplication::instance()) {
        qCInfo(lcGpuDevice) << "tryCreateGlesRhi: no QCoreApplication — GLES backend requires Qt "
                               "event loop infrastructure";
        return nullptr;
    }
    if (!m_surface) {
        qCInfo(lcGpuDevice) << "tryCreateGlesRhi: QOffscreenSurface creation failed";
        return nullptr;
    }
    return rhi::createOpenGLRhi(m_surface.get());
}

bool GpuDevice::startThread()
{
    m_isRunning = concurrency::startThread(m_thread, "Ondrel.gpu", [this] { work(); });
    return m_isRunning;
}

void GpuDevice::stopThread()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stops = true;
        m_isRunning = false;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void GpuDevice::work()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_work || m_stops; });
        if (!m_work)
            return;
        const std::function<void()> *const work = m_work;
        lock.unlock();
        (*work)();
        lock.lock();
        m_work = nullptr;
        m_isDone = true;
        m_changed.notify_all();
    }
}

bool GpuDevice::run(const std::function<void()> &work)
{
    const std::lock_guard turn(m_callers);
    std::unique_lock lock(m_mutex);
    if (!m_isRunning)
        return false;
    m_work = &work;
    m_isDone = false;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_isDone; });
    return true;
}

void GpuDevice::releaseRhi()
{
    for (GpuProgram *const program : std::as_const(m_programs))
        program->release();
    m_programs.clear();
    m_handle = nullptr;
    m_rhi.reset();
    m_isLost = false;
}

void GpuDevice::replaceLost()
{
    if (!m_isLost)
        return;
    releaseRhi();
    const GpuLane before = m_lane;
    createRhi();
    m_lane = before; // the answer holds for the process
}

void GpuDevice::shutdown()
{
    if (!run([this] { releaseRhi(); }))
        return;
    const std::lock_guard turn(m_callers);
    stopThread();
}

QRhi::FrameOpResult GpuDevice::beginFrame(QRhiCommandBuffer **commands)
{
    m_isLost = m_isLost || m_losesAtNextFrame.exchange(false) || m_rhi->isDeviceLost();
    if (m_isLost)
        return QRhi::FrameOpDeviceLost;
    const QRhi::FrameOpResult result = m_rhi->beginOffscreenFrame(commands);
    m_isLost = result == QRhi::FrameOpDeviceLost;
    return result;
}

QRhi::FrameOpResult GpuDevice::endFrame()
{
    const QRhi::FrameOpResult result = m_rhi->endOffscreenFrame();
    m_isLost = result == QRhi::FrameOpDeviceLost;
    return result;
}

bool GpuDevice::forceLane(GpuLane lane)
{
    GpuLane found = GpuLane::None;
    run([&] { found = detectLane(m_rhi.get(), lane); });
    if (found == lane)
        m_lane = lane;
    return found == lane;
}

} // namespace eval::gpu
