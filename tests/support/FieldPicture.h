// Draws a full-screen pass of a scene's shaders without a display. Needs rhi, shader and
// corvane_definitions.
#pragma once

#include <corvane/shader/SpecialisedScene.h>
#include <corvane/shader/getShader.h>
#include <rhi/QRhiCompat.h>

#include <QElapsedTimer>
#include <QList>
#include <QSize>
#include <QString>
#include <QVector4D>

#include <memory>
#include <vector>

#include <private/qshaderbaker_p.h>

namespace support {

struct FieldPictureRequest
{
    QString fragmentSource;
    QByteArray uniforms; ///< the block at binding 0
    QList<corvane::shader::SDFNode> nodes;
    QSize size{64, 64};
    QList<QRhiTexture::Format> formats{QRhiTexture::RGBA32F};
    QList<QVector4D> points{};    ///< the storage buffer at binding 3
    QByteArray sceneParameters{}; ///< the block of SpecialisedScene
};

/// One pipeline over one scene, as long as it lives.
///
/// The quad is the one of all scene passes: `position` in the device's coordinates, `uv` y up. Rows
/// of what is drawn come top row first on Vulkan.
class FieldPicture
{
public:
    /// @param error  what failed; empty when all went well
    FieldPicture(QRhi *rhi, const FieldPictureRequest &request, QString &error)
        : m_rhi(rhi)
        , m_size(request.size)
    {
        error = createTarget(request.formats);
        if (error.isEmpty())
            error = createBuffers(request);
        if (error.isEmpty())
            error = createPipeline(request.fragmentSource);
    }

    /// The driver's part of making the pipeline.
    qint64 pipelineNanoseconds() const { return m_pipelineNanoseconds; }
    /// From the first command to the finished picture, of the last draw().
    qint64 drawNanoseconds() const { return m_drawNanoseconds; }

    /// The bytes of each colour attachment.
    QList<QByteArray> draw()
    {
        QElapsedTimer timer;
        timer.start();
        QRhiCommandBuffer *commands = nullptr;
        m_rhi->beginOffscreenFrame(&commands);
        commands->beginPass(m_target.get(), Qt::transparent, {1.0f, 0}, m_updates);
        m_updates = nullptr;
        commands->setGraphicsPipeline(m_pipeline.get());
        commands->setViewport({0, 0, float(m_size.width()), float(m_size.height())});
        commands->setShaderResources();
        const QRhiCommandBuffer::VertexInput input(m_quad.get(), 0);
        commands->setVertexInput(0, 1, &input);
        commands->draw(4);
        std::vector<QRhiReadbackResult> results(m_textures.size());
        QRhiResourceUpdateBatch *const reads = m_rhi->nextResourceUpdateBatch();
        for (std::size_t i = 0; i < m_textures.size(); ++i)
            reads->readBackTexture({m_textures[i].get()}, &results[i]);
        commands->endPass(reads);
        m_rhi->endOffscreenFrame();
        m_drawNanoseconds = timer.nsecsElapsed();
        QList<QByteArray> bytes;
        for (const QRhiReadbackResult &result : results)
            bytes.append(result.data);
        return bytes;
    }

private:
    QString createTarget(const QList<QRhiTexture::Format> &formats)
    {
        QList<QRhiColorAttachment> attachments;
        for (const QRhiTexture::Format format : formats) {
            m_textures.emplace_back(m_rhi->newTexture(
                format, m_size, 1, QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
            if (!m_textures.back()->create())
                return QStringLiteral("no texture");
            attachments.append(m_textures.back().get());
        }
        m_depth.reset(m_rhi->newTexture(QRhiTexture::D32F, m_size, 1, QRhiTexture::RenderTarget));
        if (!m_depth->create())
            return QStringLiteral("no depth texture");
        QRhiTextureRenderTargetDescription description;
        description.setColorAttachments(attachments.cbegin(), attachments.cend());
        description.setDepthTexture(m_depth.get());
        m_target.reset(m_rhi->newTextureRenderTarget(description));
        m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
        m_target->setRenderPassDescriptor(m_pass.get());
        return m_target->create() ? QString() : QStringLiteral("no target");
    }

    QString createBuffers(const FieldPictureRequest &request)
    {
        const float up = m_rhi->isYUpInNDC() ? 1.0f : -1.0f;
        const float quad[] = {-1, -up, 0, 0, 0, 1, -up, 0, 1, 0, -1, up, 0, 0, 1, 1, up, 0, 1, 1};
        m_updates = m_rhi->nextResourceUpdateBatch();
        const auto filled = [this](QRhiBuffer::Type type, QRhiBuffer::UsageFlag usage,
                                   const void *data, qsizetype size) {
            std::unique_ptr<QRhiBuffer> buffer(m_rhi->newBuffer(type, usage, int(size)));
            if (buffer->create() && type == QRhiBuffer::Dynamic)
                m_updates->updateDynamicBuffer(buffer.get(), 0, int(size), data);
            else
                m_updates->uploadStaticBuffer(buffer.get(), data);
            return buffer;
        };
        const QList<corvane::shader::SDFNode> nodes =
            request.nodes.isEmpty() ? QList<corvane::shader::SDFNode>(1) : request.nodes;
        const QList<QVector4D> points =
            request.points.isEmpty() ? QList<QVector4D>(1) : request.points;
        m_quad = filled(QRhiBuffer::Immutable, QRhiBuffer::VertexBuffer, quad, sizeof quad);
        m_uniforms = filled(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                            request.uniforms.constData(), request.uniforms.size());
        m_nodes = filled(QRhiBuffer::Immutable, QRhiBuffer::StorageBuffer, nodes.constData(),
                         nodes.size() * qsizetype(sizeof(corvane::shader::SDFNode)));
        m_points = filled(QRhiBuffer::Immutable, QRhiBuffer::StorageBuffer, points.constData(),
                          points.size() * qsizetype(sizeof(QVector4D)));
        const QByteArray parameters =
            request.sceneParameters.isEmpty() ? QByteArray(16, '\0') : request.sceneParameters;
        m_parameters = filled(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                              parameters.constData(), parameters.size());
        const QByteArray sections(sectionBlockSize, '\0'); // no plane cuts
        m_sections = filled(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, sections.constData(),
                            sections.size());
        using Binding = QRhiShaderResourceBinding;
        constexpr auto stages = Binding::VertexStage | Binding::FragmentStage;
        m_bindings.reset(m_rhi->newShaderResourceBindings());
        m_bindings->setBindings(
            {Binding::uniformBuffer(0, stages, m_uniforms.get()),
             Binding::bufferLoad(1, Binding::FragmentStage, m_nodes.get()),
             Binding::bufferLoad(3, Binding::FragmentStage, m_points.get()),
             Binding::uniformBuffer(corvane::shader::SpecialisedScene::parameterBinding,
                                    Binding::FragmentStage, m_parameters.get()),
             Binding::uniformBuffer(sectionBinding, Binding::FragmentStage, m_sections.get())});
        return m_bindings->create() ? QString() : QStringLiteral("no bindings");
    }

    QString createPipeline(const QString &fragmentSource)
    {
        QShaderBaker baker;
        baker.setSourceString(fragmentSource.toUtf8(), QShader::FragmentStage,
                              QStringLiteral("field"));
        baker.setGeneratedShaders({{QShader::SpirvShader, QShaderVersion(100)}});
        baker.setGeneratedShaderVariants({QShader::StandardShader});
        const QShader fragment = baker.bake();
        if (!fragment.isValid())
            return baker.errorMessage();
        const QShader vertex = corvane::shader::getShader(QStringLiteral(":/sdf.vert.qsb"));
        m_pipeline.reset(m_rhi->newGraphicsPipeline());
        m_pipeline->setTopology(QRhiGraphicsPipeline::TriangleStrip);
        m_pipeline->setShaderStages(
            {{QRhiShaderStage::Vertex, vertex}, {QRhiShaderStage::Fragment, fragment}});
        QRhiVertexInputLayout layout;
        layout.setBindings({{20}});
        layout.setAttributes({{0, 0, QRhiVertexInputAttribute::Float3, 0},
                              {0, 1, QRhiVertexInputAttribute::Float2, 12}});
        m_pipeline->setVertexInputLayout(layout);
        m_pipeline->setShaderResourceBindings(m_bindings.get());
        m_pipeline->setRenderPassDescriptor(m_pass.get());
        m_pipeline->setDepthTest(true);
        m_pipeline->setDepthWrite(true);
        const QList<QRhiGraphicsPipeline::TargetBlend> blends(qsizetype(m_textures.size()));
        m_pipeline->setTargetBlends(blends.cbegin(), blends.cend());
        QElapsedTimer timer;
        timer.start();
        const bool created = m_pipeline->create();
        m_pipelineNanoseconds = timer.nsecsElapsed();
        return created ? QString() : QStringLiteral("no pipeline");
    }

    QRhi *m_rhi;
    static constexpr int sectionBinding = 8; // of sdf_sections.glsl
    static constexpr int sectionBlockSize = 64;

    QSize m_size;
    std::vector<std::unique_ptr<QRhiTexture>> m_textures;
    std::unique_ptr<QRhiTexture> m_depth;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiBuffer> m_quad;
    std::unique_ptr<QRhiBuffer> m_uniforms;
    std::unique_ptr<QRhiBuffer> m_nodes;
    std::unique_ptr<QRhiBuffer> m_points;
    std::unique_ptr<QRhiBuffer> m_parameters;
    std::unique_ptr<QRhiBuffer> m_sections;
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::unique_ptr<QRhiGraphicsPipeline> m_pipeline;
    QRhiResourceUpdateBatch *m_updates = nullptr;
    qint64 m_pipelineNanoseconds = 0;
    qint64 m_drawNanoseconds = 0;
};

} // namespace support
