#pragma once

#include <corvane/rendering/thumbnail/ThumbnailView.h>

#include <QByteArray>

namespace corvane::rendering {

/// The block of the shader that draws a part: its camera, box and lights.
[[nodiscard]] QByteArray partUniforms(const ThumbnailRenderRequest &request,
                                      const ThumbnailPart &part, const camera::Camera &camera);

/// The block of the cross-section shader; the request has a section.
[[nodiscard]] QByteArray sectionUniforms(const ThumbnailRenderRequest &request,
                                         const ThumbnailPart &part, const QSize &samples);

} // namespace corvane::rendering
