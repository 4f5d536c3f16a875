#pragma once

#include <corvane/rendering/ItemIds.h>
#include <corvane/rendering/Layer.h>
#include <corvane/rendering/layers/MeshGPUData.h>
#include <corvane/rendering/layers/SurfaceLighting.h>
#include <corvane/rendering/layers/TrianglePipeline.h>
#include <corvane/rendering/post/FullscreenPass.h>

#include <QHash>
#include <QSet>

#include <list>
#include <vector>

namespace corvane::rendering {

/// What the layers of triangles have in common: meshes, volumes and proxies of a document.
///
/// With a G-buffer an item is drawn in two steps, as the field is: its triangles leave depth,
/// normal, material and item id, and one pass over the picture shades the pixels of the layer. So a
/// shaded pixel costs as much as it is seen once, and picks and outlines find all items in one
/// place. Without one the triangles are shaded as they are drawn.
///
/// What one frame uploads is bounded; what is left follows in the next ones. Meshes are
/// drawn with SurfaceVertices::maxTriangles at most, and the user is told of what is not shown as
/// it is.
class SurfaceLayer : public Layer
{
public:
    static constexpr qint64 defaultUploadBudget = 64 * 1024 * 1024;

    ~SurfaceLayer() override;

    /// Both may be null, are not owned, and outlive the layer or are taken back.
    void setDocument(const model::Corvane *scene);
    void setMeshSource(const ISceneMeshSource *source);
    /// Looks at an item's mesh again in the next update.
    void markDirty(const QUuid &itemId);
    void markAllDirty();

    /// Bytes of meshes that one frame may upload; the mesh that exceeds it is the last one.
    void setUploadBudget(qint64 bytes) { m_uploadBudget = bytes; }

    void setLighting(const SurfaceLighting &lighting);
    /// The debug view of the field's shading, 0 for none; see SDFUniforms.
    void setDebugView(int view, float maxDistance);

    /// Null for an index that is not drawn.
    QUuid itemIdForIndex(uint index) const;
    /// As the G-buffer has it; 0 for an item that is not in the layer.
    quint32 encodedItemId(const QUuid &itemId) const;
    const std::vector<MeshGPUData> &items() const { return m_items; }

    bool initialize(RhiContext &context) override;
    void update(RhiContext &context, qint64 elapsedMs) override;
    void renderPre(RhiContext &context) override;
    void renderGeometry(RhiContext &context) override;
    void releaseResources() override;
    bool hasGeometryPass() const override { return true; }
    bool needsGeometryUpdate() const override { return m_isGeometryStale; }
    BoundingVolume boundingVolume() const override;
    LayerCapabilities capabilities() const override;
    bool isSelectable() const override { return true; }

protected:
    explicit SurfaceLayer(LayerType type);

    /// The items to draw, in the order of their indices.
    virtual QList<SurfaceItem> collectItems(const model::Corvane &scene) const = 0;
    virtual bool hasMesh(const ISceneMeshSource &source, const QUuid &itemId) const = 0;
    /// The mesh to show of an item whose lists or version changed.
    virtual SurfaceMesh meshOf(const ISceneMeshSource &source, const QUuid &itemId) const = 0;
    virtual int meshVersion(const ISceneMeshSource &, const QUuid &) const { return 0; }
    /// Turns the mesh of an item into triangles.
    virtual SurfaceVertices verticesOf(const SurfaceMesh &mesh) const;
    /// What is particular to the layer in how an item is drawn.
    virtual void finishItem(MeshGPUData &item) const { Q_UNUSED(item) }
    /// The value of `lighting` in surface_frame.glsl.
    virtual int lightingModel() const { return static_cast<int>(m_lighting.ambient); }
    void invalidate();         ///< the picture of the items changed, not their meshes
    void invalidateVertices(); ///< verticesOf() gives others now

private:
    void collect();
    void syncMeshes(RhiContext &context);
    bool syncMesh(RhiContext &context, MeshGPUData &item, qint64 &bytesLeft);
    std::shared_ptr<SharedVertexBuffer> sharedBuffer(const SurfaceMesh &mesh);
    std::shared_ptr<SharedVertexBuffer> uploaded(RhiContext &context, const SurfaceItem &item,
                                                 const SurfaceMesh &mesh, qint64 &bytesLeft);
    void reportVertices(const SurfaceItem &item, const SurfaceVertices &vertices);
    void followView(const RhiContext &context);
    bool ensureUniforms(RhiContext &context);
    void uploadUniforms(RhiContext &context);
    QByteArray itemBlock(const RhiContext &context, std::size_t index) const;
    QByteArray frameBlock(const RhiContext &context) const;
    void drawItems(RhiContext &context, TrianglePipeline &pipeline);
    QRect coveredPart() const;
    bool shade(RhiContext &context);
    void drawForward(RhiContext &context);

    LayerType m_type;
    const model::Corvane *m_scene = nullptr;
    const ISceneMeshSource *m_source = nullptr;
    quint64 m_collectedRevision = 0;
    bool m_isCollected = false;
    SurfaceLighting m_lighting;
    int m_debugView = 0;
    float m_maxDistance = 10000.0f;

    std::vector<MeshGPUData> m_items;
    QHash<QUuid, quint32> m_indexOf;
    std::list<std::weak_ptr<SharedVertexBuffer>> m_buffers; ///< those that are in use, and some not
    QSet<QUuid> m_reported; ///< items whose mesh was told to be shown otherwise than it is
    bool m_hasDirty = true;
    qint64 m_uploadBudget = defaultUploadBudget;

    QMatrix4x4 m_viewProjection; ///< of the geometry that is in the G-buffer
    QSize m_pixelSize;
    bool m_isGeometryStale = true;
    bool m_isGeometryDrawn = false;
    bool m_areUniformsStale = true;

    TrianglePipeline m_geometry;
    TrianglePipeline m_forward;
    FullscreenPass m_shading;
    std::unique_ptr<QRhiBuffer> m_itemBlocks;
    std::unique_ptr<QRhiBuffer> m_frameBlock;
    std::unique_ptr<QRhiSampler> m_sampler;
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    int m_itemStride = 0;
    bool m_saidNoShading = false;
};

} // namespace corvane::rendering
