#include "ScenePicture.h"

#include <corvane/rendering/ClipSpace.h>

#include <QFloat16>

#include <cstring>

using namespace Qt::StringLiterals;
using namespace corvane::rendering;

ScenePicture::ScenePicture(QRhi *rhi, const QSize &size)
    : m_rhi(rhi)
{
    m_color.reset(rhi->newTexture(QRhiTexture::RGBA8, size, 1,
                                  QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
    m_depth.reset(rhi->newRenderBuffer(QRhiRenderBuffer::DepthStencil, size));
    m_color->create();
    m_depth->create();
    m_target.reset(
        rhi->newTextureRenderTarget({QRhiColorAttachment(m_color.get()), m_depth.get()}));
    m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
    m_target->setRenderPassDescriptor(m_pass.get());
    if (!m_target->create())
        m_error = u"the target of the picture could not be made"_s;
    m_pipeline = std::make_unique<RenderPipeline>();
    QObject::connect(m_pipeline.get(), &RenderPipeline::degradedQuality, m_pipeline.get(),
                     [this](const QString &text) { m_error = text; });
}

ScenePicture::~ScenePicture() = default;

QImage ScenePicture::draw()
{
    QRhiCommandBuffer *commands = nullptr;
    if (!m_error.isEmpty())
        return {};
    if (m_rhi->beginOffscreenFrame(&commands) != QRhi::FrameOpSuccess) {
        m_error = u"the device begins no frame"_s;
        return {};
    }
    const bool isDrawn = m_pipeline->initialize(m_rhi, m_target.get(), commands) &&
                         m_pipeline->render(commands, m_target.get());
    if (m_rhi->endOffscreenFrame() != QRhi::FrameOpSuccess)
        m_error = u"the device could not end the frame"_s;
    if (!isDrawn || !m_error.isEmpty())
        return {};
    const QByteArray pixels = fromTop(readBack(m_color.get()), 4, size());
    return QImage(reinterpret_cast<const uchar *>(pixels.constData()), size().width(),
                  size().height(), QImage::Format_RGBA8888)
        .copy();
}

QByteArray ScenePicture::depths()
{
    const GBuffer &buffer = m_pipeline->context().gBuffer;
    QRhiCommandBuffer *commands = nullptr;
    if (!buffer.isValid() || m_rhi->beginOffscreenFrame(&commands) != QRhi::FrameOpSuccess)
        return {};
    QRhiTexture *const copy = m_depthCopy.draw(m_rhi, commands, buffer.depth(), buffer.size());
    m_rhi->endOffscreenFrame();
    const QByteArray texels = copy ? fromTop(readBack(copy), 16, buffer.size()) : QByteArray();
    QByteArray depths; // the red channel of each
    depths.reserve(texels.size() / 4);
    for (qsizetype at = 0; at + 16 <= texels.size(); at += 16)
        depths.append(texels.constData() + at, sizeof(float));
    return depths;
}

QByteArray ScenePicture::normals()
{
    const GBuffer &buffer = m_pipeline->context().gBuffer;
    if (!buffer.isValid() || buffer.normal()->format() != QRhiTexture::RGBA16F)
        return {};
    const QByteArray halves = fromTop(readBack(buffer.normal()), 8, buffer.size());
    QByteArray floats;
    floats.reserve(halves.size() / 8 * 12);
    for (qsizetype at = 0; at + 8 <= halves.size(); at += 8) {
        qfloat16 half[4];
        std::memcpy(half, halves.constData() + at, sizeof(half));
        const float normal[3] = {half[0], half[1], half[2]};
        floats.append(reinterpret_cast<const char *>(normal), sizeof(normal));
    }
    return floats;
}

QByteArray ScenePicture::itemIds()
{
    const GBuffer &buffer = m_pipeline->context().gBuffer;
    return buffer.isValid() ? fromTop(readBack(buffer.itemId()), 4, buffer.size()) : QByteArray();
}

QByteArray ScenePicture::readBack(QRhiTexture *texture)
{
    QRhiCommandBuffer *commands = nullptr;
    if (m_rhi->beginOffscreenFrame(&commands) != QRhi::FrameOpSuccess)
        return {};
    QRhiReadbackResult result;
    QRhiResourceUpdateBatch *const updates = m_rhi->nextResourceUpdateBatch();
    updates->readBackTexture(QRhiReadbackDescription(texture), &result);
    commands->resourceUpdate(updates);
    m_rhi->endOffscreenFrame();
    return result.data;
}

QByteArray ScenePicture::fromTop(const QByteArray &rows, int bytesPerPixel, const QSize &size) const
{
    if (!ClipSpace::isBottomUp(m_rhi))
        return rows;
    const qsizetype stride = qsizetype(size.width()) * bytesPerPixel;
    QByteArray turned;
    turned.reserve(rows.size());
    for (int y = size.height() - 1; y >= 0; --y)
        turned.append(rows.constData() + y * stride, stride);
    return turned;
}
