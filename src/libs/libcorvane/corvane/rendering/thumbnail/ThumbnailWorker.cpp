#include <corvane/rendering/thumbnail/ThumbnailWorker.h>

#include <corvane/rendering/thumbnail/ThumbnailRHIContext.h>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

ThumbnailWorker::ThumbnailWorker(QSharedPointer<ThumbnailCache> cache, QOffscreenSurface *surface)
    : m_cache(std::move(cache))
    , m_surface(surface)
{}

ThumbnailWorker::~ThumbnailWorker() = default;

void ThumbnailWorker::initialize(const QShader &vertexShader)
{
    if (m_isStopping.load())
        return;
    m_context = std::make_unique<ThumbnailRHIContext>(m_surface);
    const bool ok = m_context->initialize(vertexShader);
    if (!ok)
        m_context.reset();
    emit initialized(ok);
}

void ThumbnailWorker::renderThumbnail(const ThumbnailRenderRequest &request)
{
    if (m_isStopping.load())
        return;
    if (!m_context) {
        emit renderFailed(request.key, u"no device that can draw it"_s);
        return;
    }
    const ThumbnailRHIContext::Picture picture = m_context->render(request);
    if (picture.image.isNull()) {
        emit renderFailed(request.key, picture.error);
        return;
    }
    emit thumbnailRendered(request.key, picture.image);
    if (m_cache)
        m_cache->saveToDisk(request.key, picture.image);
}

void ThumbnailWorker::shutdown()
{
    m_context.reset();
}

} // namespace corvane::rendering
