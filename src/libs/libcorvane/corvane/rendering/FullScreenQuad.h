#pragma once

#include <rhi/QRhiCompat.h>

#include <QString>

#include <memory>

namespace corvane::rendering {

/// The two triangles that cover the target of a scene pass: `position` (vec3, location 0) in the
/// device's own coordinates, and `uv` (vec2, location 1) in those of the picture, y up. 80 bytes of
/// vertices, 12 of indices. On the thread of the device.
class FullScreenQuad
{
public:
    /// False, with what could not be made.
    bool create(QRhi *rhi, QRhiResourceUpdateBatch *updates, QString *error);
    void release();
    bool isValid() const { return m_indices != nullptr; }

    static QRhiVertexInputLayout inputLayout();
    /// With the pipeline and its resources in place.
    void draw(QRhiCommandBuffer *commands) const;

private:
    std::unique_ptr<QRhiBuffer> m_vertices;
    std::unique_ptr<QRhiBuffer> m_indices;
};

} // namespace corvane::rendering
