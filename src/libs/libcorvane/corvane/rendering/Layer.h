#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <toast/ErrorManager.h>

#include <QIcon>
#include <QList>
#include <QMatrix4x4>
#include <QString>
#include <QStringList>
#include <QVector2D>
#include <QVector3D>

#include <memory>
#include <vector>

namespace corvane::rendering {

class RenderStateManager;
class Scene;
struct RhiContext;

/// What a layer can do beyond being drawn.
enum class LayerCapability : quint32 {
    None = 0,
    GeometryPass = 1, ///< writes the G-buffer
    Picking = 2,      ///< its items have ids in the G-buffer
    Accumulation = 4, ///< its picture settles over frames
};
Q_DECLARE_FLAGS(LayerCapabilities, LayerCapability)
Q_DECLARE_OPERATORS_FOR_FLAGS(LayerCapabilities)

/// One thing that a picture is made of: the field, meshes, the ground, the post effects.
///
/// A frame calls, in this order: initialize() when it is due and update(), with no pass open
/// (uploads and passes of the layer's own go here); renderGeometry() inside the G-buffer pass for
/// layers that have one; renderPre() inside the main pass; and renderPost() after it, with no pass
/// open again, when the scene's colour can be read and the picture is still to be drawn into
/// RhiContext::renderTarget. A viewport is the layer's to set, after its
/// pipeline. A layer that fails for good says so through reportLayerError() and
/// setDisabledByErrors(), and the rest of the frame goes on without it. Everything happens on the
/// thread of the pipeline.
class Layer
{
public:
    Layer();
    virtual ~Layer();
    Layer(const Layer &) = delete;
    Layer &operator=(const Layer &) = delete;

    virtual QString typeName() const = 0; ///< "SDFLayer"
    /// Makes what belongs to the device. Called again after releaseResources() or
    /// setNeedsInitialize(). False is tried again at the next frame, unless the layer is disabled.
    virtual bool initialize(RhiContext &context) = 0;
    virtual void update(RhiContext &context, qint64 elapsedMs) = 0;
    virtual void renderPre(RhiContext &context) = 0;
    virtual void renderPost(RhiContext &context);
    virtual void releaseResources() = 0; ///< the object stays and can be initialised again
    virtual QString name() const;        ///< for people; typeName() unless it says otherwise

    virtual bool hasGeometryPass() const { return false; }
    virtual bool needsGeometryUpdate() const { return false; } ///< the G-buffer is out of date
    virtual void renderGeometry(RhiContext &context);

    virtual QIcon icon() const;
    virtual QIcon typeIcon() const;

    virtual void setTransform(const QMatrix4x4 &transform) { m_transform = transform; }
    virtual QMatrix4x4 worldTransform() const; ///< with those of its parents

    virtual void addChild(std::unique_ptr<Layer> child);
    virtual std::unique_ptr<Layer> removeChild(Layer *child);
    virtual const std::vector<std::unique_ptr<Layer>> &children() const { return m_children; }
    virtual Layer *parent() const { return m_parent; }

    virtual BoundingVolume boundingVolume() const { return {}; }
    virtual bool isSelectable() const { return false; }
    /// Whether a ray meets the layer, and how far from its origin.
    virtual bool isUnderCursor(const QVector3D &origin, const QVector3D &direction,
                               float &distance) const;
    /// Whether the layer lies in a closed line of normalised picture coordinates.
    virtual bool isInsideLasso(const QList<QVector2D> &lasso,
                               const QMatrix4x4 &viewProjection) const;
    virtual LayerCapabilities capabilities() const { return LayerCapability::None; }
    virtual QStringList acceptedSceneItemTypes() const { return {}; }

    virtual void onSampleCountChanged(int sampleCount);
    /// Tells the ErrorManager, with the layer's name as the source.
    virtual void reportLayerError(ErrorSeverity severity, const QString &text);

    bool needsInitialize() const { return m_needsInitialize; }
    void setNeedsInitialize(bool needed) { m_needsInitialize = needed; }
    bool isDisabledByErrors() const { return m_disabledByErrors; }
    void setDisabledByErrors(bool disabled) { m_disabledByErrors = disabled; }
    bool isVisible() const { return m_visible; }
    void setVisible(bool visible) { m_visible = visible; }
    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled) { m_enabled = enabled; }
    bool isDrawn() const { return m_visible && m_enabled && !m_disabledByErrors; }

protected:
    Scene *scene() const { return m_scene; }
    /// What this frame must redo, and where to ask for another; null outside a pipeline.
    RenderStateManager *renderState() const;

private:
    friend class Scene;
    void setScene(Scene *scene);

    Scene *m_scene = nullptr; ///< that it was added to, which owns it
    Layer *m_parent = nullptr;
    std::vector<std::unique_ptr<Layer>> m_children;
    QMatrix4x4 m_transform;
    bool m_needsInitialize = true;
    bool m_disabledByErrors = false;
    bool m_visible = true;
    bool m_enabled = true;
};

} // namespace corvane::rendering
