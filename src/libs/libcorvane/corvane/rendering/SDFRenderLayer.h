#pragma once

#include <corvane/eval/FieldSteepness.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/rendering/FullScreenQuad.h>
#include <corvane/rendering/Layer.h>
#include <corvane/rendering/NodeBuffer.h>
#include <corvane/rendering/ScenePass.h>
#include <corvane/rendering/ShaderCompile.h>
#include <corvane/rendering/SpecialisedField.h>
#include <corvane/shader/SDFUniforms.h>

#include <QSharedPointer>
#include <QTimer>
#include <QVector4D>

#include <functional>
#include <memory>
#include <vector>

namespace corvane::shader {
class IEnvironment;
class IShadingMode;
} // namespace corvane::shader

namespace corvane::rendering {

class GBuffer;

/// Draws the signed-distance scene. render::SDFLayer, which it owns, turns the document into nodes;
/// this is the half with a device: node and uniform buffers, shaders, pipelines.
///
/// The field is drawn in two steps. The geometry pass marches rays and leaves depth, normal,
/// materials and item in the G-buffer; the shading pass colours them. Where no G-buffer can be had,
/// one forward pass does both. Each frame does what the RenderStateManager says must be redone: a
/// camera move uploads one uniform block, a parameter the nodes that it changed, and only another
/// set of definitions in use compiles a shader.
///
/// With ShaderJobs a compile is a job, and until it is done the picture goes on with the shader
/// that it had, in which what is new does not show. A shader that fails leaves the last one that
/// worked in place, or the fixed ":/sdf.frag.qsb" where there never was one. What is wrong is told
/// by reportLayerError(), once for each attempt, and taken back by the next one.
///
/// An empty scene draws nothing and compiles nothing.
class SDFRenderLayer : public Layer
{
public:
    /// With the process-wide registry of definitions.
    SDFRenderLayer();
    explicit SDFRenderLayer(registry::Registry *registry);
    ~SDFRenderLayer() override;

    // Layer
    QString typeName() const override { return QStringLiteral("SDFLayer"); }
    bool initialize(RhiContext &context) override;
    void update(RhiContext &context, qint64 elapsedMs) override;
    void renderPre(RhiContext &context) override;
    void releaseResources() override;
    bool hasGeometryPass() const override { return m_deferred; }
    bool needsGeometryUpdate() const override;
    void renderGeometry(RhiContext &context) override;
    BoundingVolume boundingVolume() const override { return m_bounds; }
    LayerCapabilities capabilities() const override;
    QStringList acceptedSceneItemTypes() const override;
    void reportLayerError(ErrorSeverity severity, const QString &text) override;

    /// Before the first frame. Without a queue compiles run at once, on this thread.
    void setShaderJobs(const ShaderJobs &jobs);

    // The document, see render::SDFLayer
    render::SDFLayer &field() { return m_field; }
    const render::SDFLayer &field() const { return m_field; }
    void setScene(model::Corvane *scene) { m_field.setScene(scene); }
    QUuid itemIdForNodeIndex(uint index) const { return m_field.itemIdForNodeIndex(index); }
    /// Nothing of the field lies outside of the box: rays are followed in it alone. An empty box
    /// takes that back.
    void setBounds(const BoundingVolume &bounds);

    /// Takes away what lies ahead of a plane: xyz its unit normal, w its distance from the origin
    /// along it. Cut solids are closed by hatched faces. Of more than maxSectionPlanes the first
    /// count; false for one whose normal has no length, and nothing changes.
    bool setSectionPlanes(const QList<QVector4D> &planes);
    static constexpr int maxSectionPlanes = 3;

    // The march
    void setMaxSteps(int steps);
    void setMaxRayDistance(float distance);
    void setRayEpsilon(float epsilon);
    void setRaymarchAlgorithm(int algorithm);
    void setStepScale(float scale);
    void setDebugView(int view);
    void setAnalyticEdgeAA(bool on);

    // Shading
    /// False for a mode whose picture settles over frames: this layer draws whole ones.
    bool setShadingMode(const QSharedPointer<shader::IShadingMode> &mode);
    void setBackgroundForShading(const QSharedPointer<shader::IEnvironment> &environment);
    void setLightingForShading(const QSharedPointer<shader::IEnvironment> &environment);
    const QSharedPointer<shader::IShadingMode> &shadingMode() const { return m_shadingMode; }
    bool currentShadingModeNeedsAccumulation() const { return false; }
    /// Called when a new shading shader is in place.
    void setShadingReadyHook(std::function<void()> hook) { m_shadingReady = std::move(hook); }

    /// A compile is on its way: the picture is not yet that of the scene.
    bool isCompiling() const;
    /// The scene's own shader could not be used, and the fixed one is shown.
    bool isFallbackShown() const { return m_isFallback; }
    QString lastError() const { return m_lastError; }
    ErrorSeverity worstSeverity() const { return m_worstSeverity; }
    void clearLayerErrors();
    /// How often a pipeline was made, which takes far longer than a frame.
    int builtPasses() const { return m_builtPasses + m_specialised.builtPasses(); }
    /// The shader of the scene's own, which takes over when the scene has stood still.
    SpecialisedField &specialised() { return m_specialised; }
    /// Bytes that the last frame sent to the device.
    qint64 lastUploadBytes() const { return m_lastUploadBytes; }

private:
    void connectField();
    void setUniform(bool changed);
    bool createBuffers(RhiContext &context);
    bool failInitialize(const QString &text);
    bool ensureUniformBuffer(QRhi *rhi);

    void updateSceneShader(RhiContext &context);
    void startSceneCompile();
    void finishSceneCompile(RhiContext &context);
    void failSceneShader(RhiContext &context, const QString &text);
    void showFallback(RhiContext &context);
    bool buildScenePass(RhiContext &context);
    void updateShadingShader(RhiContext &context);
    void startShadingCompile();
    bool buildShadingPass(RhiContext &context);
    void ensureDeferred(RhiContext &context);
    QShader vertexShader();
    ScenePass::Description forwardDescription(const RhiContext &context);
    QList<QRhiShaderResourceBinding> sceneBindings() const;
    QList<QRhiShaderResourceBinding> shadingBindings(const GBuffer &gBuffer) const;

    void updateNodes(RhiContext &context);
    void followStructure(RhiContext &context);
    void checkDepth();
    void reportFullBuffer(const NodeBuffer::Upload &upload, qint64 budgetBytes);
    void measureSteepness();
    void updateSections(RhiContext &context);
    void updateUniforms(RhiContext &context);
    void drawDomains(RhiContext &context, const ScenePass &pass) const;
    bool canDraw();
    bool canDefer() const;

    render::SDFLayer m_field;
    shader::SDFUniforms m_uniforms;
    std::vector<shader::SDFUniforms> m_uploadedUniforms; ///< one for each domain
    BoundingVolume m_bounds;
    QSharedPointer<shader::IShadingMode> m_shadingMode;
    QSharedPointer<shader::IEnvironment> m_background;
    QSharedPointer<shader::IEnvironment> m_lighting;
    std::function<void()> m_shadingReady;

    FullScreenQuad m_quad;
    NodeBuffer m_nodes;
    std::unique_ptr<QRhiBuffer> m_uniformBuffer;
    std::unique_ptr<QRhiBuffer> m_sectionBuffer;
    std::unique_ptr<QRhiSampler> m_sampler; ///< of the G-buffer
    int m_uniformStride = 0;
    ScenePass m_geometry;
    ScenePass m_forward;
    ScenePass m_shading;
    int m_boundGBuffer = -1; ///< generation of the textures that m_shading is bound to

    ShaderCompile m_sceneCompile{ShaderCompile::Kind::Scene};
    ShaderCompile m_shadingCompile{ShaderCompile::Kind::Shading};
    QShader m_vertexShader;
    QShader m_sceneShader; ///< the last one that compiled; a geometry or a forward shader
    QShader m_shadingShader;
    SpecialisedField m_specialised{m_field};
    bool m_deferred = true;
    bool m_isFallback = false;

    QStringList m_errors;
    ErrorSeverity m_worstSeverity = ErrorSeverity::Info;
    QString m_lastError;
    int m_drawnNodes = 0;
    int m_depth = 0;             ///< of the stack that the walk needs
    bool m_areNodesLost = false; ///< the buffer is a new one
    QList<QVector4D> m_sectionPlanes;
    bool m_areSectionsStale = true;
    corvane::eval::FieldSteepness m_steepness;
    QTimer m_measureTimer;    ///< since the last change of the nodes
    int m_reportedNodes = -1; ///< count that did not fit, so that it is told once
    qint64 m_lastUploadBytes = 0;
    int m_builtPasses = 0;
    quint64 m_idleFrames = 0;
};

} // namespace corvane::rendering
