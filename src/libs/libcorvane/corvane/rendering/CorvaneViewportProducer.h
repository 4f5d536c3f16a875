#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/camera/Camera.h>
#include <corvane/render/CorvaneSnapshot.h>
#include <corvane/render/ParameterPatch.h>
#include <corvane/rendering/AdaptiveQuality.h>
#include <corvane/rendering/GBufferProbe.h>
#include <corvane/rendering/RenderOptions.h>
#include <corvane/rendering/ShaderJobs.h>
#include <corvane/rendering/SnapshotMeshSource.h>
#include <corvane/rendering/ViewportTarget.h>
#include <rhi/WorkerProducer.h>

#include <QColor>
#include <QPoint>
#include <QSharedPointer>

#include <functional>
#include <memory>
#include <optional>

namespace rhi {
class SharedTexture;
}
namespace corvane::shader {
class IEnvironment;
}

namespace corvane::rendering {

class RenderPipeline;

/// What lies under the cursor.
struct HoverInfo
{
    QUuid item{};                        ///< null where nothing is
    quint32 itemId = 0;                  ///< encoded, see ItemIds.h
    std::optional<QVector3D> position{}; ///< on the surface

    bool operator==(const HoverInfo &) const = default;
};

/// The view that a frame was drawn from.
struct CameraState
{
    camera::CameraPose pose{};
    QMatrix4x4 view{};
    QMatrix4x4 projection{};
    QSize size{}; ///< of the frame
};

/// Draws the main viewport on a render worker, from a document of its own that snapshots and
/// patches keep up to date: the window never waits for the GPU, and the GPU never reads the
/// window's document.
///
/// It draws on demand. Every command that changes the picture raises a counter, and a tick that
/// finds it where it was answers a frame of one pixel, which the window takes as "go on". While
/// something moves, AdaptiveQuality may make the picture coarser; when nothing has changed for
/// settleMs, one more frame is drawn in full quality.
///
/// A frame that fails leaves the last good one, and one message at the ErrorManager's source
/// "Viewport", which is cleared by the next frame that succeeds.
///
/// All of it is called on the worker's thread, commands through WorkerHost::runOnWorker(); the
/// mailbox may be used on any. Callbacks are called on the worker's thread too.
class CorvaneViewportProducer : public ::rhi::WorkerProducer
{
public:
    struct Config
    {
        ShaderJobs jobs{};       ///< without them shaders are compiled on the worker
        bool isZeroCopy = false; ///< frames as shared images where the device can
        AdaptiveQuality::Settings quality{};
        QColor clearColor{38, 38, 42}; ///< where there is no scene
        /// Milliseconds that never go back; empty is the system's.
        std::function<qint64()> clock{};
    };
    struct Callbacks
    {
        std::function<void(const QUuid &item, Qt::KeyboardModifiers modifiers)> itemPicked{};
        std::function<void(const HoverInfo &info)> hoverChanged{};
        std::function<void(const CameraState &state)> cameraChanged{};
    };
    static constexpr qint64 settleMs = 250;

    CorvaneViewportProducer();
    explicit CorvaneViewportProducer(const Config &config);
    ~CorvaneViewportProducer() override;

    void setCallbacks(const Callbacks &callbacks) { m_callbacks = callbacks; } ///< before the start
    /// For patches; a tick fetches them.
    std::shared_ptr<render::PatchMailbox> mailbox() const { return m_mailbox; }

    bool onInitialize(QRhi *rhi) override;
    ::rhi::WorkerFrame onTick(QRhi *rhi) override;
    void onRelease(QRhi *rhi) override;
    bool onDeviceLoss(QRhi *newRhi) override;

    // Commands

    /// Taken over by the next tick; of several the newest.
    void handleSetSnapshot(const render::CorvaneSnapshot &snapshot);
    void handleResize(const QSize &size); ///< in device pixels
    void handleSetRenderOptions(const RenderOptions &options);
    void handleSetSelection(const QList<QUuid> &items);
    void handleSetSelectionColors(const QColor &tint, const QColor &outline);
    void handleSetCamera(const camera::Camera &camera);
    void handleSetCameraPose(const camera::CameraPose &pose);
    void handleSetCameraProjection(camera::Camera::ProjectionType type, float fieldOfView);
    void handleSetExportVolume(bool enabled, const QVector3D &min, const QVector3D &max);
    /// Nothing of the field lies outside; an empty box takes that back.
    void handleSetBounds(const BoundingVolume &bounds);
    /// See SDFRenderLayer::setSectionPlanes().
    void handleSetSectionPlanes(const QList<QVector4D> &planes);
    /// The cursor, in pixels of the viewport from the top left; none when it is elsewhere.
    void handleHover(const std::optional<QPoint> &point);
    void handlePick(const QPoint &point, Qt::KeyboardModifiers modifiers);
    /// Draws nothing until it is taken back.
    void setSuspended(bool suspended);

    /// What the last frame shows at a pixel of the viewport. Outside a frame.
    std::optional<GBufferProbe::Sample> sampleGBufferAt(const QPoint &point, bool wantDepth);
    /// The item of an encoded id; null for the background.
    QUuid resolveRawId(quint32 rawId) const;

    quint64 tickCount() const { return m_tickCount; }
    quint64 keepAliveCount() const { return m_keepAliveCount; }
    double lastFrameMs() const { return m_lastFrameMs; }
    int deviceLossCount() const { return m_deviceLossCount; }
    const AdaptiveQuality &quality() const { return m_quality; }
    RenderPipeline *pipeline() const { return m_pipeline.get(); } ///< null before the first scene

private:
    struct Pick
    {
        QPoint point;
        Qt::KeyboardModifiers modifiers;
    };

    qint64 now() const;
    void raiseDemand();
    bool isUpToDate() const;
    bool isSettleDue() const;
    void takeNews();
    void applySnapshot(const render::CorvaneSnapshot &snapshot);
    void applyPatch(const render::ParameterPatch &patch);
    void ensurePipeline();
    void applyRenderOptions(const RenderOptions &options);
    void applyEnvironments(const RenderOptions &options);
    void applyFieldOptions(const RenderOptions &options);
    void applyPostOptions(const RenderOptions &options);
    bool updateSelection();
    void refuse(const QString &text);

    QSize desiredRenderSize(const AdaptiveQuality::Quality &quality);
    void applyQuality(const AdaptiveQuality::Quality &quality);
    std::optional<::rhi::WorkerFrame> drawFrame(QRhi *rhi);
    bool ensureShared(QRhi *rhi, const QSize &size);
    bool recordFrame(QRhi *rhi, QRhiCommandBuffer *commands, QRhiRenderTarget *target);
    ::rhi::WorkerFrame finishedFrame(QRhi *rhi, const QRhiReadbackResult &result);
    ::rhi::WorkerFrame keepAliveFrame() const;
    ::rhi::WorkerFrame failedFrame();
    void learnFromFrame(double milliseconds, int builtPasses, bool isRetargeted);
    void tellCamera();
    void answerQuestions();
    HoverInfo hoverAt(const QPoint &point);
    void reportViewportProblem(const QString &text);
    void clearViewportProblem();
    void releaseDeviceObjects();

    const Config m_config;
    Callbacks m_callbacks;
    const std::shared_ptr<render::PatchMailbox> m_mailbox;
    QRhi *m_rhi = nullptr;

    // The scene. The registry outlives the pipeline that looks into it, and so does the document.
    std::unique_ptr<registry::Registry> m_registry;
    render::DefinitionList m_definitions;
    QSharedPointer<model::Corvane> m_document;
    SnapshotMeshSource m_meshes;
    QSharedPointer<shader::IEnvironment> m_background; ///< of the shading
    QSharedPointer<shader::IEnvironment> m_lighting;
    std::unique_ptr<RenderPipeline> m_pipeline;
    std::optional<render::CorvaneSnapshot> m_pendingSnapshot;
    quint64 m_snapshotVersion = 0;
    render::PatchTable m_newerPatches; ///< than the snapshot
    RenderOptions m_options;           ///< all that were ever set
    QList<QUuid> m_selection;
    camera::Camera m_camera;

    // The picture
    QSize m_targetSize;
    ViewportTarget m_target;
    std::unique_ptr<::rhi::SharedTexture> m_shared;
    std::unique_ptr<QRhiTextureRenderTarget> m_sharedTarget;
    std::unique_ptr<QRhiRenderPassDescriptor> m_sharedPass;
    bool m_isSharingUnavailable = false;
    GBufferProbe m_probe;
    ::rhi::WorkerFrame m_lastFrame;
    quint64 m_sequence = 0;

    // What is to be drawn, and how well
    quint64 m_demandEpoch = 1;
    quint64 m_renderedEpoch = 0;
    qint64 m_lastChangeMs = 0;
    bool m_isSettled = true; ///< the last frame is of full quality
    bool m_isHalted = false;
    bool m_isSuspended = false;
    AdaptiveQuality m_quality;
    QSize m_lastRenderSize;

    std::optional<QPoint> m_hoverPoint;
    bool m_isHoverAsked = false;
    HoverInfo m_hover;
    QList<Pick> m_picks;

    quint64 m_tickCount = 0;
    quint64 m_keepAliveCount = 0;
    double m_lastFrameMs = 0;
    int m_deviceLossCount = 0;
    QString m_problem;
};

} // namespace corvane::rendering
