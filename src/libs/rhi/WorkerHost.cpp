#include <rhi/WorkerHost.h>

#include <rhi/ExitWatchdog.h>
#include <rhi/HeadlessPlatform.h>
#include <rhi/OffscreenRhi.h>
#include <rhi/Worker.h>
#include <rhi/WorkerProducer.h>

#include <QLoggingCategory>
#include <QOffscreenSurface>
#include <QThread>

namespace rhi {

Q_LOGGING_CATEGORY(lcWorkerHost, "ondrel.rhi.workerhost", QtWarningMsg)

WorkerHost::WorkerHost(QObject *parent)
    : QObject(parent)
{
    qRegisterMetaType<WorkerFrame>();
}

WorkerHost::~WorkerHost()
{
    stop();
}

bool WorkerHost::start(std::unique_ptr<WorkerProducer> producer, const WorkerHostConfig &config)
{
    if (m_isRunning) {
        qCWarning(lcWorkerHost) << "start() called on an already-running WorkerHost — ignored";
        return false;
    }
    if (!producer) {
        qCWarning(lcWorkerHost) << "start() called with null producer — refused";
        return false;
    }
    if (!createSurface()) {
        qCWarning(lcWorkerHost)
            << "start(): QOffscreenSurface creation failed on the GUI thread — refused";
        return false;
    }
    m_worker = new Worker(std::move(producer), config, m_surface.get());
    if (!startThread(config)) {
        qCWarning(lcWorkerHost) << "start(): the system starts no further thread — refused";
        return false;
    }
    ExitWatchdog::instance().enter();
    m_isRunning = true;
    return true;
}

void WorkerHost::stop()
{
    if (!m_isRunning)
        return;
    m_isRunning = false;
    // The thread ends from within: quit() from here could overtake the queued call.
    QMetaObject::invokeMethod(
        m_worker,
        [worker = m_worker, thread = m_thread] {
            worker->shutdown();
            thread->quit();
        },
        Qt::QueuedConnection);
    m_thread->wait();
    m_thread->deleteLater();
    m_thread = nullptr;
    m_worker = nullptr;
    m_surface.reset();
    ExitWatchdog::instance().leave();
}

void WorkerHost::requestTick()
{
    if (m_isRunning && !m_worker->takeRequest())
        QMetaObject::invokeMethod(m_worker, &Worker::requestOneTick, Qt::QueuedConnection);
}

void WorkerHost::runOnWorker(std::function<void()> command)
{
    if (m_isRunning && command)
        QMetaObject::invokeMethod(m_worker, std::move(command), Qt::QueuedConnection);
}

void WorkerHost::simulateDeviceLoss()
{
    if (m_isRunning)
        m_worker->simulateDeviceLoss();
}

// Qt makes surfaces on the main thread only, though OpenGL needs one on the worker's. Without a GUI
// application there are none, and the worker has Vulkan or nothing.
bool WorkerHost::createSurface()
{
    if (!hasGuiApplication())
        return true;
    m_surface = std::make_unique<QOffscreenSurface>();
    m_surface->setFormat(preferredOffscreenSurfaceFormat());
    m_surface->create();
    if (m_surface->isValid())
        return true;
    m_surface.reset();
    return false;
}

bool WorkerHost::startThread(const WorkerHostConfig &config)
{
    m_thread = new QThread;
    m_thread->setObjectName(QString::fromUtf8(config.threadName));
    connect(m_thread, &QThread::started, m_worker, &Worker::initialize);
    connect(m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    connect(m_worker, &Worker::frameReadyInternal, this, &WorkerHost::frameReady);
    connect(m_worker, &Worker::errorInternal, this, &WorkerHost::workerError);
    m_worker->moveToThread(m_thread);
    m_thread->start(config.priority);
    if (m_thread->isRunning())
        return true;
    delete m_worker;
    delete m_thread;
    m_worker = nullptr;
    m_thread = nullptr;
    m_surface.reset();
    return false;
}

} // namespace rhi
