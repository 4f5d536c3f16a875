#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/camera/Camera.h>
#include <corvane/rendering/thumbnail/ThumbnailRenderRequest.h>

#include <QImage>

namespace corvane::rendering {

/// What has to be known of a part to draw it.
struct ThumbnailPart
{
    BoundingVolume box;
    bool isCut = false;     ///< the part goes on outside: the picture shows what is in the box
    float steepness = 1.0f; ///< how much faster than the distance its field may grow
};

/// Looks for the part of a request. A part without end, or without a box that can be found, is
/// shown within a cube. Takes some milliseconds to a few tenths of a second.
[[nodiscard]] ThumbnailPart findThumbnailPart(const ThumbnailRenderRequest &request);

/// A camera that sees a box from the front, the right and above, as large as the picture allows
/// with a margin for its shadow.
[[nodiscard]] camera::Camera thumbnailCamera(const BoundingVolume &box, const QSize &size);

/// The camera after a look at a small picture of its own: what is opaque there fills the picture,
/// which for a round part the corners of its box do not.
[[nodiscard]] camera::Camera framed(const camera::Camera &camera, const QImage &small);

} // namespace corvane::rendering
