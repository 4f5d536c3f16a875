// For drivers without compute shaders. Points stand in the pixels of textures in the order in which
// they came, row by row, so that the shader finds its own by where it draws; a batch that is wider
// than the device's textures is folded into a square.
#include <eval/gpu/FragmentLane.h>

#include <eval/gpu/GpuDevice.h>
#include <shader/compileShader.h>

#include <QFile>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace Qt::StringLiterals;

namespace eval::gpu {

namespace {

constexpr int lanesPerPixel = 4;

size_t pixelsFor(int floats)
{
    return static_cast<size_t>((floats + lanesPerPixel - 1) / lanesPerPixel);
}

shader::CompileResult fullscreenShader()
{
    QFile file(u":/eval/gpu/eval_gpu_fullscreen.vert"_s);
    if (!file.open(QIODevice::ReadOnly))
        return {.shader = {}, .errorMessage = file.errorString()};
    return shader::compileShader(QString::fromUtf8(file.readAll()), QShader::VertexStage,
                                 u"eval_gpu_fullscreen_vs"_s);
}

} // namespace

QString FragmentLane::build(QRhi *rhi, const QShader &shader, int inFloats, int outFloats)
{
    m_rhi = rhi;
    m_shader = shader;
    m_inFloats = inFloats;
    m_outFloats = outFloats;
    m_inputs.resize(pixelsFor(inFloats));
    m_outputs.resize(pixelsFor(outFloats));
    const shader::CompileResult vertex = fullscreenShader();
    if (!vertex.shader.isValid())
        return u"fullscreen vertex shader bake failed: %1"_s.arg(vertex.errorMessage);
    m_vertexShader = vertex.shader;
    m_params.reset(
        rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, sizeof(LaneParams)));
    if (!m_params->create())
        return u"params UBO alloc failed"_s;
    m_sampler.reset(rhi->newSampler(QRhiSampler::Nearest, QRhiSampler::Nearest, QRhiSampler::None,
                                    QRhiSampler::ClampToEdge, QRhiSampler::ClampToEdge));
    return m_sampler->create() ? QString() : u"sampler create failed"_s;
}

QSize FragmentLane::layout(qsizetype count) const
{
    const int limit = m_rhi->resourceLimit(QRhi::TextureSizeMax);
    if (count <= limit)
        return {static_cast<int>(count), 1};
    auto side = static_cast<qsizetype>(std::sqrt(static_cast<double>(count)));
    while (side * side < count)
        ++side;
    return {static_cast<int>(side), static_cast<int>(side)};
}

QString FragmentLane::refusal(qsizetype count) const
{
    const qsizetype limit = m_rhi->resourceLimit(QRhi::TextureSizeMax);
    return count / limit < limit || count == limit * limit
               ? QString()
               : u"fragment lane: batch of %1 exceeds the %2x%2 texture limit"_s.arg(count).arg(
                     limit);
}

qsizetype FragmentLane::partLimit(int) const
{
    return floatLimit / lanesPerPixel;
}

QString FragmentLane::createTextures(std::vector<Texture> &textures, const QSize &size,
                                     const QString &text, QRhiTexture::Flags flags)
{
    for (size_t i = 0; i < textures.size(); ++i) {
        std::unique_ptr<QRhiTexture> &texture = textures[i].texture;
        if (!texture)
            texture.reset(m_rhi->newTexture(QRhiTexture::RGBA32F, size, 1, flags));
        texture->setPixelSize(size);
        if (!texture->create())
            return text.arg(i).arg(size.width()).arg(size.height());
    }
    return {};
}

QString FragmentLane::resize(const QSize &size)
{
    if (size == m_size)
        return {};
    m_size = {};
    QString error = createTextures(m_inputs, size,
                                   u"fragment lane: input texture %1 (%2x%3) create failed"_s, {});
    if (error.isEmpty())
        error = createTextures(m_outputs, size,
                               u"fragment lane: MRT attachment %1 (%2x%3) create failed"_s,
                               QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource);
    if (error.isEmpty())
        error = createTarget(size);
    if (error.isEmpty() && !m_pipeline)
        error = createPipeline();
    if (error.isEmpty())
        m_size = size;
    return error;
}

QString FragmentLane::createTarget(const QSize &size)
{
    if (!m_target) {
        QRhiTextureRenderTargetDescription description;
        QList<QRhiColorAttachment> attachments;
        for (const Texture &output : m_outputs)
            attachments.append(QRhiColorAttachment(output.texture.get()));
        description.setColorAttachments(attachments.cbegin(), attachments.cend());
        m_target.reset(m_rhi->newTextureRenderTarget(description));
        m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
        m_target->setRenderPassDescriptor(m_pass.get());
    }
    return m_target->create()
               ? QString()
               : u"fragment lane: render target (%1x%2, %3 attachments) create failed"_s
                     .arg(size.width())
                     .arg(size.height())
                     .arg(m_outputs.size());
}

QString FragmentLane::createPipeline()
{
    using Binding = QRhiShaderResourceBinding;
    QList<Binding> bindings{Binding::uniformBuffer(0, Binding::FragmentStage, m_params.get())};
    for (size_t i = 0; i < m_inputs.size(); ++i)
        bindings.append(Binding::sampledTexture(static_cast<int>(i) + 1, Binding::FragmentStage,
                                                m_inputs[i].texture.get(), m_sampler.get()));
    m_bindings.reset(m_rhi->newShaderResourceBindings());
    m_bindings->setBindings(bindings.cbegin(), bindings.cend());
    if (!m_bindings->create())
        return u"fragment lane: shader resource bindings create failed"_s;
    auto pipeline = std::unique_ptr<QRhiGraphicsPipeline>(m_rhi->newGraphicsPipeline());
    pipeline->setShaderStages(
        {{QRhiShaderStage::Vertex, m_vertexShader}, {QRhiShaderStage::Fragment, m_shader}});
    const QList<QRhiGraphicsPipeline::TargetBlend> blends(qsizetype(m_outputs.size()));
    pipeline->setTargetBlends(blends.cbegin(), blends.cend());
    pipeline->setVertexInputLayout({});
    pipeline->setShaderResourceBindings(m_bindings.get());
    pipeline->setRenderPassDescriptor(m_pass.get());
    if (!pipeline->create())
        return u"fragment lane: graphics pipeline create failed"_s;
    m_pipeline = std::move(pipeline);
    return {};
}

void FragmentLane::upload(QRhiResourceUpdateBatch &batch, std::span<const float> input,
                          int count) const
{
    const qsizetype pixels = qsizetype(m_size.width()) * m_size.height();
    for (size_t i = 0; i < m_inputs.size(); ++i) {
        QByteArray data(pixels * lanesPerPixel * qsizetype(sizeof(float)), '\0');
        auto *const texels = reinterpret_cast<float *>(data.data());
        const int first = static_cast<int>(i) * lanesPerPixel;
        const int lanes = std::min(lanesPerPixel, m_inFloats - first);
        for (qsizetype point = 0; point < count; ++point)
            std::copy_n(input.data() + point * m_inFloats + first, lanes,
                        texels + point * lanesPerPixel);
        batch.uploadTexture(
            m_inputs[i].texture.get(),
            QRhiTextureUploadEntry(0, 0,
                                   QRhiTextureSubresourceUploadDescription(
                                       data.constData(), static_cast<int>(data.size()))));
    }
}

QString FragmentLane::collect(std::span<float> output, int count) const
{
    const qsizetype need =
        qsizetype(m_size.width()) * m_size.height() * lanesPerPixel * qsizetype(sizeof(float));
    for (size_t i = 0; i < m_outputs.size(); ++i) {
        const qsizetype got = m_outputs[i].read.data.size();
        if (got != need)
            return u"fragment readback %1 size mismatch (got %2, need %3)"_s.arg(i).arg(got).arg(
                need);
    }
    for (size_t i = 0; i < m_outputs.size(); ++i) {
        const char *texel = m_outputs[i].read.data.constData();
        const int first = static_cast<int>(i) * lanesPerPixel;
        const int lanes = std::min(lanesPerPixel, m_outFloats - first);
        for (qsizetype point = 0; point < count; ++point, texel += lanesPerPixel * sizeof(float))
            std::memcpy(output.data() + point * m_outFloats + first, texel,
                        static_cast<size_t>(lanes) * sizeof(float));
    }
    return {};
}

QString FragmentLane::run(GpuDevice &device, const LaneInput &input, std::span<float> output,
                          int count)
{
    if (const QString error = resize(layout(count)); !error.isEmpty())
        return error;
    const LaneParams params{static_cast<quint32>(count), static_cast<quint32>(m_inFloats),
                            static_cast<quint32>(m_outFloats),
                            static_cast<quint32>(m_size.width())};
    size_t readCount = 0;
    const auto record = [&](QRhiCommandBuffer &commands) {
        QRhiResourceUpdateBatch *const uploads = m_rhi->nextResourceUpdateBatch();
        uploads->updateDynamicBuffer(m_params.get(), 0, sizeof params, &params);
        upload(*uploads, input.floats, count);
        commands.beginPass(m_target.get(), Qt::black, {1.0f, 0}, uploads);
        commands.setGraphicsPipeline(m_pipeline.get());
        commands.setViewport({0, 0, float(m_size.width()), float(m_size.height())});
        commands.setShaderResources();
        commands.draw(3);
        QRhiResourceUpdateBatch *const readback = m_rhi->nextResourceUpdateBatch();
        for (Texture &target : m_outputs) {
            target.read = {};
            target.read.completed = [&readCount] { ++readCount; };
            readback->readBackTexture({target.texture.get()}, &target.read);
        }
        commands.endPass(readback);
    };
    QString error = runFrame(device, {u"fragment lane"_s, u" (fragment lane)"_s}, record,
                             [&] { return readCount == m_outputs.size(); });
    if (error.isEmpty())
        error = collect(output, count);
    for (Texture &target : m_outputs)
        target.read = {};
    return error;
}

} // namespace eval::gpu
