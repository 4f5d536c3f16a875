#pragma once

#include <corvane/rendering/DepthCopy.h>
#include <rhi/QRhiCompat.h>

#include <QPoint>

#include <memory>
#include <optional>

namespace corvane::rendering {

class GBuffer;

/// Reads one pixel of a G-buffer, in an offscreen frame of its own. On the thread of the device,
/// outside a frame.
class GBufferProbe
{
public:
    struct Sample
    {
        quint32 itemId = 0;           ///< encoded, see ItemIds.h; 0 is the background
        std::optional<float> depth{}; ///< as it was written; 1 where nothing is
    };

    /// Nothing for a point outside and for a device that can't.
    /// @param point  from the top left, in pixels of a picture of `size`, which the G-buffer need
    ///               not have
    std::optional<Sample> sampleAt(QRhi *rhi, const GBuffer &buffer, const QPoint &point,
                                   const QSize &size, bool wantDepth);
    void release();

private:
    bool ensureTexel(QRhi *rhi);

    QRhi *m_rhi = nullptr;
    std::unique_ptr<QRhiTexture> m_texel;
    DepthCopy m_depth;
};

} // namespace corvane::rendering
