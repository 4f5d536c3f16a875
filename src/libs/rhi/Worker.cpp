#include <rhi/Worker.h>

#include <rhi/HeadlessPlatform.h>
#include <rhi/WorkerProducer.h>

#include <QLoggingCategory>
#include <QOffscreenSurface>

#include <chrono>

using namespace Qt::StringLiterals;

namespace rhi {

Q_LOGGING_CATEGORY(lcWorker, "ondrel.rhi.worker", QtWarningMsg)

namespace {

qint64 systemMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

Worker::Worker(std::unique_ptr<WorkerProducer> producer, WorkerHostConfig config,
               QOffscreenSurface *surface)
    : m_config(std::move(config))
    , m_surface(surface)
    , m_producer(std::move(producer))
{}

Worker::~Worker() = default;

void Worker::initialize()
{
    if (!buildRhiAndSurface())
        return;
    if (!m_producer->onInitialize(m_rhi.get())) {
        emitError(u"WorkerHost: producer onInitialize returned false"_s);
        m_producer->onRelease(m_rhi.get());
        m_rhi.reset();
        return;
    }
    m_state = State::Initialised;
    if (m_config.tickIntervalMs <= 0)
        return;
    m_timer = std::make_unique<QTimer>(); // of this thread
    connect(m_timer.get(), &QTimer::timeout, this, &Worker::tickInternal);
    m_timer->start(m_config.tickIntervalMs);
}

void Worker::requestOneTick()
{
    m_isTickRequested = false; // before the tick: what is asked for during it is a tick of its own
    tickInternal();
}

void Worker::shutdown()
{
    m_timer.reset();
    QRhi *const rhi = m_rhi ? m_rhi.get() : m_lostRhi.get();
    if (m_state != State::Built && m_state != State::Halted && rhi)
        m_producer->onRelease(rhi);
    m_state = State::Halted;
    m_producer.reset();
    m_rhi.reset();
    m_lostRhi.reset();
}

void Worker::tickInternal()
{
    if (m_state == State::WithoutDevice)
        recover();
    if (m_state != State::Initialised)
        return;
    const WorkerFrame frame = m_producer->onTick(m_rhi.get());
    if (isDeviceLost())
        handleDeviceLoss();
    else if (!frame.isEmpty())
        emit frameReadyInternal(frame);
}

bool Worker::buildRhiAndSurface()
{
    const bool isSurfaceUsable = m_surface && m_surface->isValid();
    if (!isSurfaceUsable && hasGuiApplication()) {
        emitError(u"WorkerHost: borrowed QOffscreenSurface missing/invalid"_s);
        return false;
    }
    if (m_config.instance)
        m_rhi = createVulkanRhi(m_config.instance, m_config.device);
    if (!m_rhi)
        m_rhi = createOffscreenRhi(m_surface);
    if (!m_rhi)
        emitError(u"WorkerHost: QRhi::create failed (Vulkan and OpenGL both unavailable)"_s);
    return m_rhi != nullptr;
}

void Worker::emitError(const QString &message)
{
    qCWarning(lcWorker).noquote() << message;
    emit errorInternal(message);
}

qint64 Worker::now() const
{
    return m_config.clock ? m_config.clock() : systemMs();
}

bool Worker::isDeviceLost()
{
    return m_isLossSimulated.exchange(false) || m_rhi->isDeviceLost();
}

void Worker::handleDeviceLoss()
{
    m_producer->m_lossTier = m_producer->m_lossWatchdog.recordLoss(now());
    if (m_producer->m_lossTier == DeviceLossTier::HardStop) {
        halt();
        return;
    }
    m_lostRhi = std::move(m_rhi);
    m_lastFailureMs.reset();
    m_state = State::WithoutDevice;
    recover();
}

void Worker::recover()
{
    if (m_lastFailureMs && now() - *m_lastFailureMs < retryPauseMs)
        return;
    if (!buildRhiAndSurface()) {
        failRecovery(u"device-loss recovery: RHI rebuild failed — a later tick retries"_s);
        return;
    }
    const bool isRecovered = m_producer->onDeviceLoss(m_rhi.get());
    m_lostRhi.reset();
    if (!isRecovered) {
        failRecovery(u"device-loss recovery: producer onDeviceLoss failed"_s);
        m_lostRhi = std::move(m_rhi); // what the producer made of it so far is its to free
        return;
    }
    m_lastFailureMs.reset();
    m_state = State::Initialised;
}

void Worker::failRecovery(const QString &message)
{
    m_lastFailureMs = now();
    emitError(message);
}

// The device goes with what the producer built on it: a driver that was lost five times in a minute
// is best left alone.
void Worker::halt()
{
    m_timer.reset();
    m_producer->onRelease(m_rhi.get());
    m_rhi.reset();
    m_state = State::Halted;
    emitError(u"device-loss HardStop — worker halted, no further frames"_s);
}

} // namespace rhi
