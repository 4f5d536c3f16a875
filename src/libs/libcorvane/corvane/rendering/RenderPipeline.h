#pragma once

#include <corvane/aa/IAntialiasStrategy.h>
#include <corvane/camera/Camera.h>
#include <corvane/rendering/ItemIds.h>
#include <corvane/rendering/RenderStateManager.h>
#include <corvane/rendering/RenderTelemetry.h>
#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/Scene.h>
#include <corvane/rendering/ShaderJobs.h>

#include <QElapsedTimer>
#include <QObject>
#include <QSharedPointer>
#include <QUuid>

#include <utility>
#include <vector>

namespace corvane::model {
class Corvane;
}
namespace corvane::registry {
class Registry;
}
namespace corvane::shader {
class IEnvironment;
class IShadingMode;
} // namespace corvane::shader

namespace corvane::rendering {

class EnvironmentLayer;
class ExportBoundsLayer;
class GroundPlane;
class ISceneMeshSource;
class PostProcessLayer;
class SurfaceLayer;
class SDFRenderLayer;

/// Draws one frame of a scene into a render target that it is given: for a window, a render worker
/// or a file, which it need not know.
///
/// A frame is: layers are updated and their uploads sent; the G-buffer is drawn when it is out of
/// date; all layers draw into an offscreen target of linear colour; the post effects carry that
/// into the target. With the offscreen target switched off, layers draw into the target itself and
/// there are no post effects.
///
/// It belongs to the thread that made it, and the document that it is given too.
class RenderPipeline : public QObject
{
    Q_OBJECT

public:
    /// With the process-wide registry of definitions.
    explicit RenderPipeline(QObject *parent = nullptr);
    explicit RenderPipeline(registry::Registry *registry, QObject *parent = nullptr);
    ~RenderPipeline() override;

    /// Where shaders are compiled; before the first frame.
    void setShaderJobs(const ShaderJobs &jobs);

    /// Takes a device and a target over; called before each frame, it does only what is new. Within
    /// a frame of the device.
    bool initialize(QRhi *rhi, QRhiRenderTarget *target, QRhiCommandBuffer *commands);
    bool isInitialized() const { return m_context.rhi != nullptr; }
    /// False when nothing could be drawn.
    bool render(QRhiCommandBuffer *commands, QRhiRenderTarget *target);
    void resize(const QSize &size);
    /// Frees what belongs to the device; the layers stay.
    void release();

    /// Not owned, may be null.
    void setCorvane(model::Corvane *scene);
    /// False, and nothing changed, for a mode whose picture settles over many frames.
    bool setShadingMode(const QSharedPointer<shader::IShadingMode> &mode);
    /// Meshes of the items that are no field. Not owned, may be null.
    void setMeshSource(const ISceneMeshSource *source);
    /// What lights all that is drawn: lights of one environment, surroundings of another. Both may
    /// be null.
    void setLighting(const QSharedPointer<shader::IEnvironment> &background,
                     const QSharedPointer<shader::IEnvironment> &lights);
    /// What is seen behind the scene.
    void setEnvironment(const QSharedPointer<shader::IEnvironment> &environment);
    /// False for an unknown id, which leaves none.
    bool setToneMapping(const QString &id);
    void setAntialiasStrategy(const QSharedPointer<aa::IAntialiasStrategy> &strategy);
    /// A cheaper picture: at most so many samples, and none of the effects that only embellish.
    void setSampleLimit(int samples);
    void setEmbellished(bool embellished);
    void setOffscreenEnabled(bool enabled) { m_offscreenEnabled = enabled; }

    const camera::Camera &camera() const { return m_camera; }
    /// The aspect ratio is that of the target.
    void setCamera(const camera::Camera &camera);

    Scene &scene() { return m_scene; }
    RenderStateManager &state() { return m_state; }
    RenderTelemetry &telemetry() { return m_telemetry; }
    RhiContext &context() { return m_context; }
    SDFRenderLayer *sdfLayer() const { return m_sdf; }
    EnvironmentLayer *environmentLayer() const { return m_environment; }
    PostProcessLayer *postLayer() const { return m_post; }
    GroundPlane *groundPlane() const { return m_ground; }
    ExportBoundsLayer *exportBounds() const { return m_exportBounds; }
    /// The item of an encoded id (ItemIds.h); null for the background.
    QUuid itemOf(quint32 encodedId) const;
    quint64 frameCount() const { return m_frameCount; }

signals:
    /// The picture is worse than was asked for, or is not there; the text says why.
    void degradedQuality(const QString &text);
    /// Another frame is wanted after this one.
    void needsRender();

private:
    void setupLayers(registry::Registry *registry);
    template<typename T, typename... Arguments>
    T *addLayer(Arguments &&...arguments);
    template<typename T>
    void addSurface(LayerType type);
    void giveAntialiasEffects();
    void lightSurfaces();
    aa::FrameSetup frameSetup();
    void followTarget(QRhiRenderTarget *target);
    void setTargetSize(const QSize &size);
    bool beginScenePass(QRhiRenderTarget *target);
    void drawScene();
    void applyCamera();

    RenderTelemetry m_telemetry;
    RenderStateManager m_state;
    camera::Camera m_camera;
    Scene m_scene;
    RhiContext m_context;
    SDFRenderLayer *m_sdf = nullptr;
    EnvironmentLayer *m_environment = nullptr;
    PostProcessLayer *m_post = nullptr;
    QSharedPointer<shader::IEnvironment> m_background; ///< of the shading
    QSharedPointer<shader::IEnvironment> m_lights;
    GroundPlane *m_ground = nullptr;
    ExportBoundsLayer *m_exportBounds = nullptr;
    /// The layers of triangles by the type in their item ids.
    std::vector<std::pair<LayerType, SurfaceLayer *>> m_surfaces;
    QSharedPointer<aa::IAntialiasStrategy> m_antialias;
    QElapsedTimer m_timer;
    QSize m_targetSize;
    int m_sampleLimit = 64;
    bool m_embellished = true;
    bool m_offscreenEnabled = true;
    quint64 m_frameCount = 0;
};

} // namespace corvane::rendering
