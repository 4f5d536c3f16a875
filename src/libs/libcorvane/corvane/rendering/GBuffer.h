#pragma once

#include <rhi/QRhiCompat.h>

#include <QSize>

#include <memory>

namespace corvane::rendering {

/// What is known of each pixel before it is shaded, so that one shading step, one pick and one
/// outline serve everything that is drawn.
///
/// | attachment | holds | format |
/// |---|---|---|
/// | colour 0 | world normal, ambient occlusion in w | RGBA16F, else RGBA8 |
/// | colour 1 | primary and secondary node (low 8 bits each), blend factor, shadow | RGBA8 |
/// | colour 2 | item id, packed as rhi/ItemIdTexel.h has it | RGBA8 |
/// | colour 3 | albedo, roughness; of the field the high bits of the secondary node | RGBA8 |
/// | depth | (z / w + 1) / 2, 1 where there is nothing | D32F |
///
/// An item id has the layer's LayerType in its top four bits and the index in that layer below.
/// On the thread of the device.
class GBuffer
{
public:
    /// False when something could not be made; then nothing is held, and the log says what.
    bool initialize(QRhi *rhi, const QSize &size);
    /// To another size in place, and anew when that fails. False leaves it invalid. Bindings that
    /// hold the textures stay good unless `generation()` changes.
    bool resize(const QSize &size);
    void release();

    bool isValid() const { return m_target != nullptr; }
    QSize size() const { return m_size; }
    /// Counts the times that the objects below were made anew.
    int generation() const { return m_generation; }

    QRhiTexture *normal() const { return m_normal.get(); }
    QRhiTexture *material() const { return m_material.get(); }
    QRhiTexture *itemId() const { return m_itemId.get(); }
    QRhiTexture *albedo() const { return m_albedo.get(); }
    QRhiTexture *depth() const { return m_depth.get(); }
    QRhiTextureRenderTarget *renderTarget() const { return m_target.get(); }
    QRhiRenderPassDescriptor *renderPassDescriptor() const { return m_pass.get(); }

    static constexpr int colorAttachmentCount = 4;

private:
    bool createTextures();
    bool createTarget();
    bool resizeInPlace();

    QRhi *m_rhi = nullptr;
    QSize m_size;
    int m_generation = 0;
    std::unique_ptr<QRhiTexture> m_normal;
    std::unique_ptr<QRhiTexture> m_material;
    std::unique_ptr<QRhiTexture> m_itemId;
    std::unique_ptr<QRhiTexture> m_albedo;
    std::unique_ptr<QRhiTexture> m_depth;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
};

} // namespace corvane::rendering
