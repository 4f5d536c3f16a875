#include <corvane/rendering/post/BloomEffect.h>

#include <algorithm>
#include <cmath>

#include <QLoggingCategory>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcBloom, "ondrel.rendering.bloom", QtWarningMsg)

namespace {

constexpr int sourceBinding = 0;
constexpr int blockBinding = 1;
constexpr int secondBinding = 2;
constexpr int smallestSide = 4; ///< of a level; below it nothing is left to blur
constexpr auto fragmentStage = QRhiShaderResourceBinding::FragmentStage;

/// The block `BloomParams`, std140.
struct BloomParams
{
    float threshold;
    float intensity;
    float radius;
    float padding;
};
static_assert(sizeof(BloomParams) == 16);

QSize halved(const QSize &size)
{
    return {std::max(1, (size.width() + 1) / 2), std::max(1, (size.height() + 1) / 2)};
}

double defaultOf(const QList<registry::ParameterDef> &parameters, const QString &name)
{
    for (const registry::ParameterDef &known : parameters) {
        if (known.name == name)
            return known.defaultValue.toDouble();
    }
    return 0.0;
}

} // namespace

BloomEffect::BloomEffect(const QList<registry::ParameterDef> &parameters)
    : m_parameters(parameters)
    , m_intensity(float(defaultOf(parameters, u"intensity"_s)))
    , m_threshold(float(defaultOf(parameters, u"threshold"_s)))
    , m_composite(u":/bloom_composite.frag.qsb"_s)
{}

QString BloomEffect::name() const
{
    return u"bloom"_s;
}

bool BloomEffect::setParameter(const QString &name, const QVariant &value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(number))
        return false;
    for (const registry::ParameterDef &known : std::as_const(m_parameters)) {
        if (known.name != name)
            continue;
        const double clamped =
            std::clamp(number, known.minValue.toDouble(), known.maxValue.toDouble());
        (name == "intensity"_L1 ? m_intensity : m_threshold) = float(clamped);
        return true;
    }
    return false;
}

bool BloomEffect::initialize(QRhi *rhi, const QSize &size)
{
    if (m_rhi != rhi)
        release();
    m_rhi = rhi;
    const bool isResized = m_size != size;
    m_size = size;
    if (!m_failed && (!m_block || isResized))
        m_failed = !(m_block || createFixedParts()) || !fitLevels();
    return !m_failed;
}

void BloomEffect::setRenderPassDescriptor(QRhiRenderPassDescriptor *descriptor)
{
    m_descriptor = descriptor;
}

void BloomEffect::prepareFrame(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source)
{
    QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
    if (!updates || !prepare(updates, source)) {
        m_failed = true;
        qCWarning(lcBloom) << "BloomEffect: shader compilation failed";
        if (updates)
            updates->release();
        return;
    }
    commands->resourceUpdate(updates);
    for (const Level &level : m_levels)
        draw(commands, level.down, *level.downPass);
    for (std::size_t i = m_levels.size() - 1; i-- > 0;)
        draw(commands, m_levels[i].up, *m_levels[i].upPass);
}

void BloomEffect::render(QRhiCommandBuffer *commands, const QSize &targetSize)
{
    m_composite.draw(commands, targetSize);
}

void BloomEffect::release()
{
    m_levels.clear();
    m_composite.release();
    m_block.reset();
    m_sampler.reset();
    m_rhi = nullptr;
    m_size = {};
    m_failed = false;
}

bool BloomEffect::createFixedParts()
{
    m_block.reset(
        m_rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, sizeof(BloomParams)));
    m_sampler.reset(m_rhi->newSampler(QRhiSampler::Linear, QRhiSampler::Linear, QRhiSampler::None,
                                      QRhiSampler::ClampToEdge, QRhiSampler::ClampToEdge));
    return m_block->create() && m_sampler->create();
}

// Passes stay over another size: their pipelines do not depend on it.
bool BloomEffect::fitLevels()
{
    std::size_t count = 0;
    QSize size = halved(m_size);
    do {
        if (count == m_levels.size())
            m_levels.push_back(newLevel(count == 0));
        if (!m_levels[count].down.ensure(m_rhi, size))
            return false;
        ++count;
        size = halved(size);
    } while (int(count) < maxLevels && std::min(size.width(), size.height()) >= smallestSide);
    m_levels.erase(m_levels.begin() + std::ptrdiff_t(count), m_levels.end());
    return std::all_of(m_levels.begin(), m_levels.end() - 1, [this](Level &level) {
        return level.up.ensure(m_rhi, level.down.texture()->pixelSize());
    });
}

BloomEffect::Level BloomEffect::newLevel(bool isFirst)
{
    Level level;
    level.downPass = std::make_unique<FullscreenPass>(isFirst ? u":/bloom_threshold.frag.qsb"_s
                                                              : u":/bloom_downsample.frag.qsb"_s);
    level.upPass = std::make_unique<FullscreenPass>(u":/bloom_upsample.frag.qsb"_s);
    return level;
}

bool BloomEffect::prepare(QRhiResourceUpdateBatch *updates, QRhiTexture *source)
{
    if (!preparePasses(updates, source))
        return false;
    const BloomParams params{
        .threshold = m_threshold, .intensity = m_intensity, .radius = radius, .padding = 0.0f};
    updates->updateDynamicBuffer(m_block.get(), 0, sizeof(params), &params);
    return m_composite.prepare(m_rhi, updates) &&
           m_composite.ensure(m_rhi, m_descriptor, 1, bindings(source, upTexture(0)));
}

bool BloomEffect::preparePasses(QRhiResourceUpdateBatch *updates, QRhiTexture *source)
{
    for (std::size_t i = 0; i < m_levels.size(); ++i) {
        Level &level = m_levels[i];
        QRhiTexture *const larger = i == 0 ? source : m_levels[i - 1].down.texture();
        if (!level.downPass->prepare(m_rhi, updates) ||
            !level.downPass->ensure(m_rhi, level.down.renderPassDescriptor(), 1, bindings(larger)))
            return false;
        if (i + 1 == m_levels.size())
            continue;
        if (!level.upPass->prepare(m_rhi, updates) ||
            !level.upPass->ensure(m_rhi, level.up.renderPassDescriptor(), 1,
                                  bindings(upTexture(i + 1), level.down.texture())))
            return false;
    }
    return true;
}

BloomEffect::Bindings BloomEffect::bindings(QRhiTexture *source, QRhiTexture *second) const
{
    using Binding = QRhiShaderResourceBinding;
    Bindings all{
        Binding::sampledTexture(sourceBinding, fragmentStage, source, m_sampler.get()),
        Binding::uniformBuffer(blockBinding, fragmentStage, m_block.get()),
    };
    if (second)
        all.append(Binding::sampledTexture(secondBinding, fragmentStage, second, m_sampler.get()));
    return all;
}

// The smallest level has no way up: its way down is both.
QRhiTexture *BloomEffect::upTexture(std::size_t level) const
{
    const Level &wanted = m_levels[level];
    return level + 1 == m_levels.size() ? wanted.down.texture() : wanted.up.texture();
}

void BloomEffect::draw(QRhiCommandBuffer *commands, const PostTarget &target,
                       const FullscreenPass &pass)
{
    commands->beginPass(target.renderTarget(), Qt::black, {1.0f, 0});
    pass.draw(commands, target.texture()->pixelSize());
    commands->endPass();
}

} // namespace corvane::rendering
