// What the first picture of a sample waits for, by template: its text, the bake for the back-end
// that runs and for all of them, the bare bake of the same, the entry of the cache, and the
// driver's pipeline. One run of what takes long, as a user has it, and the best of seven of what
// does not; the driver's own cache is switched off.
//
// A hit is one in memory; "disk" is the entry for all back-ends, read and unpacked.
//
//     bench_shaders [part of a sample's name]
#include <rhi/HeadlessPlatform.h>
#include <rhi/OffscreenRhi.h>
#include <rhi/RenderDevice.h>
#include <rhi/VulkanInstance.h>
#include <shader/ArtifactCache.h>
#include <shader/CompileMark.h>
#include <shader/compileShader.h>
#include <support/SampleShaders.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <private/qshaderbaker_p.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using shader::CompileResult;

namespace {

double timed(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// The best of some runs, for what is over before the system gives the processor to others.
double best(const std::function<void()> &work)
{
    constexpr int runs = 7;
    double least = timed(work);
    for (int i = 1; i < runs; ++i)
        least = std::min(least, timed(work));
    return least;
}

constexpr auto vertexText = R"(#version 450
void main() { gl_Position = vec4(float(gl_VertexIndex & 1) * 4.0 - 1.0,
                                 float(gl_VertexIndex >> 1) * 4.0 - 1.0, 0.0, 1.0); }
)"_L1;

/// A pipeline with whatever a fragment shader declares.
class PipelineMaker
{
public:
    explicit PipelineMaker(QRhi *rhi)
        : m_rhi(rhi)
        , m_vertex(shader::compileFor(shader::Target::Spirv, vertexText, QShader::VertexStage,
                                      u"triangle"_s)
                       .shader)
    {}

    bool make(const QShader &fragment)
    {
        const QShaderDescription description = fragment.description();
        makeTarget(static_cast<int>(description.outputVariables().size()));
        makeBindings(description);
        const std::unique_ptr<QRhiGraphicsPipeline> pipeline(m_rhi->newGraphicsPipeline());
        pipeline->setShaderStages(
            {{QRhiShaderStage::Vertex, m_vertex}, {QRhiShaderStage::Fragment, fragment}});
        const QList<QRhiGraphicsPipeline::TargetBlend> blends(qsizetype(m_colors.size()));
        pipeline->setTargetBlends(blends.cbegin(), blends.cend());
        pipeline->setVertexInputLayout({});
        pipeline->setShaderResourceBindings(m_bindings.get());
        pipeline->setRenderPassDescriptor(m_pass.get());
        return pipeline->create();
    }

private:
    void makeTarget(int outputs)
    {
        m_colors.clear();
        QList<QRhiColorAttachment> attachments;
        for (int i = 0; i < outputs; ++i) {
            m_colors.emplace_back(
                m_rhi->newTexture(QRhiTexture::RGBA32F, {16, 16}, 1, QRhiTexture::RenderTarget));
            m_colors.back()->create();
            attachments.append(QRhiColorAttachment(m_colors.back().get()));
        }
        QRhiTextureRenderTargetDescription description;
        description.setColorAttachments(attachments.cbegin(), attachments.cend());
        m_target.reset(m_rhi->newTextureRenderTarget(description));
        m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
        m_target->setRenderPassDescriptor(m_pass.get());
        m_target->create();
    }

    void makeBindings(const QShaderDescription &description)
    {
        using Binding = QRhiShaderResourceBinding;
        QList<Binding> bindings;
        m_resources.clear();
        const auto uniforms = description.uniformBlocks();
        for (const auto &block : uniforms) {
            auto *const buffer = m_rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                                                  std::max(block.size, 16));
            buffer->create();
            m_resources.emplace_back(buffer);
            bindings.append(Binding::uniformBuffer(block.binding, Binding::FragmentStage, buffer));
        }
        const auto storages = description.storageBlocks();
        for (const auto &block : storages) {
            auto *const buffer =
                m_rhi->newBuffer(QRhiBuffer::Static, QRhiBuffer::StorageBuffer, 4096);
            buffer->create();
            m_resources.emplace_back(buffer);
            bindings.append(
                Binding::bufferLoadStore(block.binding, Binding::FragmentStage, buffer));
        }
        const auto samplers = description.combinedImageSamplers();
        for (const auto &variable : samplers) {
            const bool isCube = variable.type == QShaderDescription::SamplerCube;
            auto *const texture =
                m_rhi->newTexture(QRhiTexture::RGBA8, {16, 16}, 1,
                                  isCube ? QRhiTexture::CubeMap : QRhiTexture::Flags());
            auto *const sampler =
                m_rhi->newSampler(QRhiSampler::Nearest, QRhiSampler::Nearest, QRhiSampler::None,
                                  QRhiSampler::ClampToEdge, QRhiSampler::ClampToEdge);
            texture->create();
            sampler->create();
            m_resources.emplace_back(texture);
            m_resources.emplace_back(sampler);
            bindings.append(Binding::sampledTexture(variable.binding, Binding::FragmentStage,
                                                    texture, sampler));
        }
        m_bindings.reset(m_rhi->newShaderResourceBindings());
        m_bindings->setBindings(bindings.cbegin(), bindings.cend());
        m_bindings->create();
    }

    QRhi *m_rhi;
    QShader m_vertex;
    std::vector<std::unique_ptr<QRhiTexture>> m_colors;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::vector<std::unique_ptr<QRhiResource>> m_resources;
};

QShader bareBake(const QString &text)
{
    QShaderBaker baker;
    baker.setSourceString(text.toUtf8(), QShader::FragmentStage, u"bare"_s);
    QList<QShaderBaker::GeneratedShader> codes;
    for (const shader::TargetCode &code : shader::codesOf(shader::allTargets))
        codes.append({code.language, code.version});
    baker.setGeneratedShaders(codes);
    baker.setGeneratedShaderVariants({QShader::StandardShader});
    return baker.bake();
}

void row(const QString &sample, const support::ShaderTemplate &part,
         const corvane::shader::SDFShaderGenerator &generator, PipelineMaker *pipelines)
{
    QString text;
    const double generation = best([&] { text = (generator.*part.generate)(); });
    const QString name = u"bench"_s;
    const auto stage = QShader::FragmentStage;
    CompileResult first;
    const double spirv =
        timed([&] { first = shader::compileFor(shader::Target::Spirv, text, stage, name); });
    double pipeline = 0.0;
    bool isGood = first.shader.isValid();
    if (pipelines)
        pipeline = timed([&] { isGood = isGood && pipelines->make(first.shader); });
    const QString other = text + u"\n// all\n"_s; // another key
    CompileResult all;
    const double every =
        timed([&] { all = shader::compileFor(shader::allTargets, other, stage, name); });
    const double bare = timed([&] { isGood = isGood && bareBake(other).isValid(); });
    const double hit =
        best([&] { first = shader::compileFor(shader::Target::Spirv, text, stage, name); });
    const QString folder = QFileInfo(shader::ArtifactCache::instance().shaderDir()).path();
    const double disk = best([&] { // another process has nothing in memory
        all.shader = shader::ArtifactCache(folder).loadShader(
            shader::ArtifactCache::shaderKey(other, stage));
    });
    std::printf("%-22s %-9s %7lld %9.2f %9.1f %9.1f %9.1f %9.2f %9.2f %9.1f%s\n",
                qPrintable(sample.chopped(8)), part.name, static_cast<long long>(text.size()),
                generation, spirv, every, bare, hit, disk, pipeline,
                isGood && all.shader.isValid() ? "" : "  FAILED");
    std::fflush(stdout);
}

void markCost()
{
    double least = 1e9;
    for (int i = 0; i < 200; ++i)
        least = std::min(least, best([] {
                             const shader::CompileMark mark(shader::Compiler::Glsl,
                                                            u"0123456789abcdef"_s, u"bench"_s);
                         }));
    std::printf("a mark of a compile: %.3f ms\n", least);
}

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir home;
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path()));
    qputenv("MESA_SHADER_CACHE_DISABLE", "true");
    const QCoreApplication application(argc, argv);
    const QString wanted = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    QVulkanInstance *const vulkan = rhi::sharedVulkanInstance();
    const rhi::RhiPointer device =
        vulkan ? rhi::createVulkanRhi(vulkan, rhi::selectOffscreenRenderDevice(vulkan)) : nullptr;
    std::unique_ptr<PipelineMaker> pipelines;
    if (device)
        pipelines = std::make_unique<PipelineMaker>(device.get());
    else
        std::printf("no Vulkan device: no pipelines\n");
    markCost();
    std::printf("milliseconds           template    chars generate  bake one  bake all  bare all   "
                "    hit      disk  pipeline\n");
    for (const QString &sample : support::sampleNames()) {
        if (!sample.contains(wanted))
            continue;
        const bool isRead = support::withGeneratorOf(sample, [&](const auto &generator) {
            for (const support::ShaderTemplate &part : support::shaderTemplates)
                row(sample, part, generator, pipelines.get());
        });
        if (!isRead)
            std::printf("%s cannot be read\n", qPrintable(sample));
    }
    return 0;
}
