#pragma once

#include <rhi/QRhiCompat.h>

#include <QMatrix4x4>

/// The one place that knows how a device's clip space lies.
///
/// Everywhere else matrices are in the OpenGL convention: x right, y up, z from -1 at the near
/// plane to 1 at the far one. The depth that a pass writes is (z / w + 1) / 2 on every device, by a
/// full screen pass through gl_FragDepth and by rasterised triangles through rasterProjection(); so
/// a position is read back from a depth d at z = 2 d - 1, in shaders and here.
namespace corvane::rendering::ClipSpace {

/// The projection to draw triangles with.
inline QMatrix4x4 rasterProjection(QRhi *rhi, const QMatrix4x4 &projection)
{
    return rhi->clipSpaceCorrMatrix() * projection;
}

/// 1 where y points up in the device's normalised coordinates, else -1: the factor from a picture's
/// y (up) to the device's.
inline float ndcYSign(QRhi *rhi)
{
    return rhi->isYUpInNDC() ? 1.0f : -1.0f;
}

/// Whether the first row of a texture that was drawn to is the lowest of the picture.
inline bool isBottomUp(QRhi *rhi)
{
    return rhi->isYUpInFramebuffer();
}

/// The world position at picture coordinates `ndc` (-1 to 1, y up) and a written depth.
inline QVector3D unproject(const QMatrix4x4 &inverseViewProjection, const QPointF &ndc, float depth)
{
    return inverseViewProjection.map(
        QVector3D(float(ndc.x()), float(ndc.y()), 2.0f * depth - 1.0f));
}

} // namespace corvane::rendering::ClipSpace
