#include <rhi/FrameTexture.h>

#include <QLoggingCategory>

#include <algorithm>

namespace rhi {

Q_LOGGING_CATEGORY(lcFrameTexture, "ondrel.rhi.present", QtWarningMsg)

namespace {

struct PixelSize
{
    QRhiTexture::Format format;
    int bytes;
};

constexpr PixelSize pixelSizes[] = {
    {QRhiTexture::RGBA8, 4},    {QRhiTexture::BGRA8, 4}, {QRhiTexture::R8, 1},
    {QRhiTexture::RG8, 2},      {QRhiTexture::R16, 2},   {QRhiTexture::RG16, 4},
    {QRhiTexture::R16F, 2},     {QRhiTexture::R32F, 4},  {QRhiTexture::RGBA16F, 8},
    {QRhiTexture::RGBA32F, 16},
};

// In 64 bits: a frame may say any size.
qint64 bytesOf(const QSize &size, int bytesPerPixel)
{
    return qint64(size.width()) * size.height() * bytesPerPixel;
}

QRhiTextureUploadDescription uploadOf(const WorkerFrame &frame, qsizetype bytes)
{
    QRhiTextureSubresourceUploadDescription part(
        frame.pixels.size() == bytes ? frame.pixels : frame.pixels.first(bytes));
    if (!frame.damage.isNull()) {
        part.setSourceSize(frame.damage.size());
        part.setDestinationTopLeft(frame.damage.topLeft());
    }
    return {{0, 0, part}};
}

} // namespace

int FrameTexture::bytesPerPixel(QRhiTexture::Format format)
{
    const auto *const row =
        std::find_if(std::begin(pixelSizes), std::end(pixelSizes),
                     [=](const PixelSize &each) { return each.format == format; });
    return row == std::end(pixelSizes) ? 0 : row->bytes;
}

bool FrameTexture::upload(QRhi *rhi, QRhiResourceUpdateBatch *updates, const WorkerFrame &frame)
{
    if (frame.size.isEmpty())
        return false; // nothing to show in it
    const bool isWhole = frame.damage.isNull();
    if (!isWhole && !isDamageUsable(frame))
        return false;
    const qint64 expected =
        bytesOf(isWhole ? frame.size : frame.damage.size(), bytesPerPixel(m_format));
    if (frame.pixels.size() < expected) {
        qCWarning(lcFrameTexture, "RhiPresentWidget: frame pixel buffer too small (%lld < %lld)",
                  qlonglong(frame.pixels.size()), qlonglong(expected));
        return false;
    }
    if (isWhole && !ensureTexture(rhi, frame.size))
        return false;
    updates->uploadTexture(m_texture.get(), uploadOf(frame, expected));
    return true;
}

bool FrameTexture::ensureTexture(QRhi *rhi, const QSize &size)
{
    if (m_texture && m_texture->pixelSize() == size && m_texture->format() == m_format)
        return true;
    const int limit = rhi->resourceLimit(QRhi::TextureSizeMax);
    if (std::max(size.width(), size.height()) > limit) {
        qCWarning(lcFrameTexture,
                  "RhiPresentWidget: frame of %dx%d exceeds the device's limit of %d", size.width(),
                  size.height(), limit);
        return false;
    }
    std::unique_ptr<QRhiTexture> texture(rhi->newTexture(m_format, size));
    if (!texture->create()) {
        qCWarning(lcFrameTexture, "RhiPresentWidget: no texture of %dx%d", size.width(),
                  size.height());
        return false;
    }
    m_texture = std::move(texture);
    return true;
}

bool FrameTexture::isDamageUsable(const WorkerFrame &frame) const
{
    if (!m_texture) {
        qCWarning(lcFrameTexture,
                  "RhiPresentWidget: damage frame without a full-frame base — dropped");
        return false;
    }
    const QRect whole(QPoint(0, 0), m_texture->pixelSize());
    if (!frame.damage.isValid() || !whole.contains(frame.damage)) {
        qCWarning(lcFrameTexture, "RhiPresentWidget: damage rect out of bounds — dropped");
        return false;
    }
    return true;
}

} // namespace rhi
