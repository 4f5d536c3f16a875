#include <corvane/rendering/RhiContext.h>

#include <QLoggingCategory>

#include <utility>

namespace corvane::rendering {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcContext, "ondrel.rendering.context", QtWarningMsg)

namespace {

QString megapixels(qint64 pixels)
{
    return QString::number(double(pixels) / 1e6, 'f', 1);
}

/// The largest count that the device has and is not above the wanted one.
int supportedSamples(QRhi *rhi, int wanted)
{
    int best = 1;
    const auto counts = rhi->supportedSampleCounts();
    for (const int count : counts) {
        if (count <= wanted)
            best = qMax(best, count);
    }
    return best;
}

} // namespace

void RhiContext::setRenderTarget(QRhiRenderTarget *target)
{
    renderTarget = target;
    renderPassDescriptor = target ? target->renderPassDescriptor() : nullptr;
    pixelSize = target ? target->pixelSize() : QSize();
    sampleCount = target ? target->sampleCount() : 1;
}

QRhiResourceUpdateBatch *RhiContext::ensureResourceUpdates()
{
    if (!resourceUpdates && rhi) {
        resourceUpdates = rhi->nextResourceUpdateBatch();
        if (!resourceUpdates)
            qCWarning(lcContext) << "RhiContext: the device has no resource update batch left";
    }
    return resourceUpdates;
}

void RhiContext::flushResourceUpdates()
{
    if (resourceUpdates)
        commandBuffer->resourceUpdate(takeResourceUpdates());
}

QRhiResourceUpdateBatch *RhiContext::takeResourceUpdates()
{
    return std::exchange(resourceUpdates, nullptr);
}

void RhiContext::dropResourceUpdates()
{
    if (resourceUpdates)
        takeResourceUpdates()->release();
}

bool RhiContext::ensureOffscreen(QRhi *device, const QSize &size, int samples, QString *error)
{
    const qint64 pixels = qint64(size.width()) * size.height();
    QString refusal;
    if (!device) {
        refusal = u"RhiContext::ensureOffscreen: null RHI provided"_s;
    } else if (size.isEmpty()) {
        refusal = u"RhiContext::ensureOffscreen: invalid size %1x%2"_s.arg(
            QString::number(size.width()), QString::number(size.height()));
    } else if (pixels > budget.maxOffscreenPixels) {
        refusal = u"RhiContext::ensureOffscreen: %1x%2 (%3 MP) exceeds budget "
                  "maxOffscreenPixels (%4 MP)"_s.arg(
                      QString::number(size.width()), QString::number(size.height()),
                      megapixels(pixels), megapixels(budget.maxOffscreenPixels));
    }
    if (refusal.isEmpty())
        return offscreen.ensure(device, size,
                                supportedSamples(device, qMin(samples, budget.maxSamples)), error);
    if (error)
        *error = refusal;
    return false;
}

bool RhiContext::ensureGBuffer()
{
    return gBuffer.isValid() ? gBuffer.resize(pixelSize) : gBuffer.initialize(rhi, pixelSize);
}

} // namespace corvane::rendering
