#pragma once

#include <corvane/rendering/thumbnail/ThumbnailRenderRequest.h>
#include <rhi/OffscreenRhi.h>

#include <QImage>

#include <map>
#include <memory>

namespace corvane::rendering {

struct ThumbnailPart;

/// A device that draws thumbnails, with the pipelines that it has made for them. Made, used and
/// destroyed on one thread.
///
/// Each narrowed shader has a pipeline, which is kept for the next request of the same text; what
/// the driver compiled is kept on disk. When the device is lost, the request fails and the next one
/// starts a new device.
class ThumbnailRHIContext
{
public:
    /// @param surface  for OpenGL, where there is no Vulkan; may be null, and is not owned
    explicit ThumbnailRHIContext(QOffscreenSurface *surface = nullptr);
    ~ThumbnailRHIContext();
    ThumbnailRHIContext(const ThumbnailRHIContext &) = delete;
    ThumbnailRHIContext &operator=(const ThumbnailRHIContext &) = delete;

    /// Starts the device. False, with a log line, when there is none that can do it.
    /// @param vertexShader  of the full-screen quad of scene passes
    bool initialize(const QShader &vertexShader);
    bool isValid() const { return m_rhi != nullptr; }

    struct Picture
    {
        QImage image{};  ///< RGBA8888, transparent where nothing is; null on failure
        QString error{}; ///< what failed
    };
    /// One picture: finds the part, and draws it with four samples a pixel.
    Picture render(const ThumbnailRenderRequest &request);

    /// Gives everything back, and writes the driver's pipelines to disk.
    void release();

private:
    struct Pipeline
    {
        std::unique_ptr<QRhiShaderResourceBindings> bindings;
        std::unique_ptr<QRhiGraphicsPipeline> pipeline;
    };
    struct Target
    {
        std::unique_ptr<QRhiTexture> texture;
        std::unique_ptr<QRhiTextureRenderTarget> target;
        std::unique_ptr<QRhiRenderPassDescriptor> descriptor;
    };

    bool createBuffers();
    bool ensureTarget(const QSize &size);
    bool ensureNodeBuffer(qsizetype nodes);
    Pipeline *pipelineFor(const ThumbnailRenderRequest &request, QString &error);
    std::unique_ptr<Pipeline> makePipeline(const QShader &fragment);
    Picture drawPart(Pipeline &pipeline, const ThumbnailRenderRequest &request);
    Picture drawSection(Pipeline &pipeline, const ThumbnailRenderRequest &request);
    /// One pass over the lower left part of the target.
    Picture draw(Pipeline &pipeline, const QList<shader::SDFNode> &nodes,
                 const QByteArray &uniforms, const QSize &size);
    void record(QRhiCommandBuffer *commands, Pipeline &pipeline, const QSize &size,
                QRhiResourceUpdateBatch *uploads);
    Picture failed(const QString &error);
    void loadPipelineCache();
    void savePipelineCache() const;
    [[nodiscard]] QString pipelineCacheKey() const;

    QOffscreenSurface *m_surface = nullptr;
    QShader m_vertexShader;
    rhi::RhiPointer m_rhi; ///< before what belongs to it, which goes first
    std::unique_ptr<QRhiBuffer> m_quad;
    std::unique_ptr<QRhiBuffer> m_uniforms;
    std::unique_ptr<QRhiBuffer> m_nodes;
    qsizetype m_nodeCapacity = 0;
    Target m_target;
    std::map<QByteArray, std::unique_ptr<Pipeline>> m_pipelines; ///< by a hash of their text
    bool m_hasNewPipelines = false;
};

} // namespace corvane::rendering
