#include <corvane/rendering/thumbnail/SDFThumbnailGenerator.h>

#include <corvane/registry/Registry.h>
#include <corvane/rendering/thumbnail/ThumbnailRHIContext.h>
#include <corvane/rendering/thumbnail/ThumbnailWorker.h>
#include <corvane/shader/getShader.h>
#include <rhi/HeadlessPlatform.h>

#include <QCryptographicHash>
#include <QLoggingCategory>
#include <QOffscreenSurface>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcThumbnailGenerator, "ondrel.corvane.thumbnail.generator", QtWarningMsg)

namespace {

constexpr auto vertexShaderPath = ":/sdf.vert.qsb"_L1;
constexpr auto sceneSubject = "scene"_L1;

/// Only OpenGL needs one, and only a GUI application can make it; without it Vulkan alone is tried.
std::unique_ptr<QOffscreenSurface> makeSurface()
{
    if (!rhi::hasGuiApplication())
        return nullptr;
    auto surface = std::make_unique<QOffscreenSurface>();
    surface->setFormat(rhi::preferredOffscreenSurfaceFormat());
    surface->create();
    return surface;
}

} // namespace

SDFThumbnailGenerator::SDFThumbnailGenerator(registry::Registry *registry,
                                             QSharedPointer<ThumbnailCache> cache, QObject *parent)
    : QObject(parent)
    , m_registry(registry)
    , m_cache(cache ? std::move(cache) : QSharedPointer<ThumbnailCache>::create())
    , m_subjects(registry)
    , m_queue([this](const ThumbnailQueue::ThumbnailRequest &r) { return startPreload(r); })
{
    m_thread.setObjectName(u"Thumbnails"_s);
    connect(registry, &registry::Registry::primitiveRegistered, this,
            &SDFThumbnailGenerator::onRegistryPrimitiveChanged);
    connect(registry, &registry::Registry::primitiveUnregistered, this,
            &SDFThumbnailGenerator::onRegistryPrimitiveChanged);
    connect(registry, &registry::Registry::registryReset, this, [this] {
        m_subjects.registryChanged();
        m_failed.clear();
    });
}

SDFThumbnailGenerator::~SDFThumbnailGenerator()
{
    m_queue.clear();
    stopWorker();
}

QPixmap SDFThumbnailGenerator::generateThumbnail(const QString &id, const QSize &size,
                                                 const QVariantMap &parameters,
                                                 const std::optional<ThumbnailSection> &section)
{
    const auto definition = m_registry->getDefinition(id);
    if (!definition) {
        qCWarning(lcThumbnailGenerator).noquote()
            << "SDFThumbnailGenerator: Unknown definition" << id;
        return {};
    }
    const QString key =
        ThumbnailCache::cacheKey(id, parameters, size, m_subjects.content(*definition), section);
    const QPixmap made = known(key, size);
    if (!made.isNull() || m_underWay.contains(key) || m_failed.contains(key) || m_isDisabled)
        return made;
    const auto subject = m_subjects.make(*definition, parameters);
    ThumbnailRenderRequest request{.key = key,
                                   .subject = id,
                                   .size = size,
                                   .nodes = subject.nodes,
                                   .rootIndex = subject.rootIndex,
                                   .section = section};
    return draw(request);
}

QPixmap SDFThumbnailGenerator::generateSceneThumbnail(const QList<shader::SDFNode> &nodes,
                                                      int rootIndex, int size)
{
    const QString key = sceneKey(nodes, size);
    const QPixmap made = known(key, {size, size});
    if (!made.isNull() || m_underWay.contains(key) || m_failed.contains(key) || m_isDisabled)
        return made;
    ThumbnailRenderRequest request{.key = key,
                                   .subject = sceneSubject,
                                   .size = {size, size},
                                   .nodes = nodes,
                                   .rootIndex = rootIndex};
    return draw(request);
}

QString SDFThumbnailGenerator::sceneKey(const QList<shader::SDFNode> &nodes, int size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(nodes.constData()),
                                nodes.size() * qsizetype(sizeof(shader::SDFNode)));
    return ThumbnailCache::sceneKey(bytes, {size, size});
}

void SDFThumbnailGenerator::preload(const QList<ThumbnailQueue::ThumbnailRequest> &requests)
{
    m_queue.enqueue(requests);
    m_queue.startProcessing();
}

void SDFThumbnailGenerator::clearCache()
{
    m_cache->clear();
    m_failed.clear();
}

QPixmap SDFThumbnailGenerator::known(const QString &key, const QSize &size)
{
    QPixmap pixmap = m_cache->getFromMemory(key);
    if (!pixmap.isNull())
        return pixmap;
    const QImage image = m_cache->loadFromDisk(key, size);
    if (image.isNull())
        return {};
    pixmap = QPixmap::fromImage(image);
    m_cache->insertIntoMemory(key, pixmap);
    return pixmap;
}

QPixmap SDFThumbnailGenerator::draw(const ThumbnailRenderRequest &request)
{
    if (request.nodes.isEmpty() || request.rootIndex < 0) {
        m_underWay.insert(request.key, request);
        onRenderFailed(request.key, u"there is nothing to draw"_s);
        return {};
    }
    ThumbnailRenderRequest whole = request;
    m_subjects.addShader(whole);
    if (m_workerState == WorkerState::NotStarted)
        startWorker();
    m_underWay.insert(whole.key, whole);
    if (m_workerState == WorkerState::Failed)
        return drawHere(whole);
    dispatchRenderToWorker(whole);
    return {};
}

void SDFThumbnailGenerator::dispatchRenderToWorker(const ThumbnailRenderRequest &request)
{
    QMetaObject::invokeMethod(
        m_worker.get(), [worker = m_worker.get(), request] { worker->renderThumbnail(request); });
}

void SDFThumbnailGenerator::startWorker()
{
    m_surface = makeSurface();
    m_worker = std::make_unique<ThumbnailWorker>(m_cache, m_surface.get());
    m_worker->moveToThread(&m_thread);
    connect(m_worker.get(), &ThumbnailWorker::initialized, this,
            &SDFThumbnailGenerator::onWorkerInitialized);
    connect(m_worker.get(), &ThumbnailWorker::thumbnailRendered, this,
            &SDFThumbnailGenerator::onThumbnailRendered);
    connect(m_worker.get(), &ThumbnailWorker::renderFailed, this,
            &SDFThumbnailGenerator::onRenderFailed);
    m_workerState = WorkerState::Starting;
    m_thread.start(QThread::LowPriority);
    const QShader vertexShader = shader::getShader(vertexShaderPath);
    QMetaObject::invokeMethod(m_worker.get(), [worker = m_worker.get(), vertexShader] {
        worker->initialize(vertexShader);
    });
}

void SDFThumbnailGenerator::stopWorker()
{
    if (!m_worker)
        return;
    m_worker->cancelWaiting();
    QMetaObject::invokeMethod(m_worker.get(), &ThumbnailWorker::shutdown);
    m_thread.quit();
    m_thread.wait();
    m_worker.reset();
}

bool SDFThumbnailGenerator::ensureRhi()
{
    if (m_fallback)
        return true;
    if (m_isDisabled)
        return false;
    auto context = std::make_unique<ThumbnailRHIContext>(m_surface.get());
    if (!context->initialize(shader::getShader(vertexShaderPath))) {
        m_isDisabled = true;
        qCWarning(lcThumbnailGenerator)
            << "Thumbnail rendering disabled — both worker and fallback failed.";
        return false;
    }
    m_fallback = std::move(context);
    return true;
}

QPixmap SDFThumbnailGenerator::drawHere(const ThumbnailRenderRequest &request)
{
    if (!ensureRhi()) {
        finish(request.key);
        return {};
    }
    const ThumbnailRHIContext::Picture picture = m_fallback->render(request);
    if (picture.image.isNull()) {
        onRenderFailed(request.key, picture.error);
        return {};
    }
    m_cache->saveToDisk(request.key, picture.image);
    onThumbnailRendered(request.key, picture.image);
    return m_cache->getFromMemory(request.key);
}

bool SDFThumbnailGenerator::startPreload(const ThumbnailQueue::ThumbnailRequest &request)
{
    const auto definition = m_registry->getDefinition(request.id);
    if (!definition)
        return false;
    const QString key = ThumbnailCache::cacheKey(request.id, request.parameters, request.size,
                                                 m_subjects.content(*definition));
    generateThumbnail(request.id, request.size, request.parameters);
    if (!m_underWay.contains(key))
        return false;
    m_preloading = key;
    return true;
}

void SDFThumbnailGenerator::onWorkerInitialized(bool ok)
{
    m_workerState = ok ? WorkerState::Running : WorkerState::Failed;
    if (ok)
        return;
    qCWarning(lcThumbnailGenerator) << "SDFThumbnailGenerator: Worker initialization failed";
    const auto waiting = m_underWay;
    stopWorker();
    for (const ThumbnailRenderRequest &request : waiting)
        drawHere(request);
}

void SDFThumbnailGenerator::onThumbnailRendered(const QString &key, const QImage &image)
{
    const auto request = m_underWay.constFind(key);
    if (request == m_underWay.cend())
        return; // its definition has changed meanwhile
    const QString subject = request->subject == sceneSubject ? key : request->subject;
    const QPixmap pixmap = QPixmap::fromImage(image);
    m_cache->insertIntoMemory(key, pixmap);
    finish(key);
    emit thumbnailReady(subject, pixmap);
}

void SDFThumbnailGenerator::onRenderFailed(const QString &key, const QString &error)
{
    const auto request = m_underWay.constFind(key);
    if (request == m_underWay.cend())
        return;
    const QString subject = request->subject;
    const QString told = subject == sceneSubject ? key : subject;
    qCWarning(lcThumbnailGenerator).noquote()
        << u"SDFThumbnailGenerator: %1: %2"_s.arg(subject, error);
    m_failed.insert(key);
    finish(key);
    emit thumbnailFailed(told, error);
}

void SDFThumbnailGenerator::onRegistryPrimitiveChanged(const QString &id)
{
    m_subjects.registryChanged();
    m_failed.clear();
    m_cache->removeFromMemory(ThumbnailCache::keyPrefix(id));
    emit thumbnailInvalidated(id);
}

void SDFThumbnailGenerator::finish(const QString &key)
{
    m_underWay.remove(key);
    if (m_preloading != key)
        return;
    m_preloading.clear();
    m_queue.notifyPreloadItemComplete();
}

} // namespace corvane::rendering
