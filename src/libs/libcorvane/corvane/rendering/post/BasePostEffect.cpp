#include <corvane/rendering/post/BasePostEffect.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace corvane::rendering {

namespace {

constexpr int sourceBinding = 0;
constexpr auto fragmentStage = QRhiShaderResourceBinding::FragmentStage;

} // namespace

BasePostEffect::BasePostEffect(const Description &description)
    : m_id(description.id)
    , m_blockBinding(description.blockBinding)
    , m_parameters(description.parameters)
    , m_pass(description.fragmentShader)
{
    for (const registry::ParameterDef &parameter : std::as_const(m_parameters))
        m_values.append(parameter.defaultValue.toFloat());
}

bool BasePostEffect::setParameter(const QString &name, const QVariant &value)
{
    const auto found = std::find_if(m_parameters.cbegin(), m_parameters.cend(),
                                    [&name](const auto &known) { return known.name == name; });
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (found == m_parameters.cend() || !isNumber || !std::isfinite(number))
        return false;
    m_values[found - m_parameters.cbegin()] =
        float(std::clamp(number, found->minValue.toDouble(), found->maxValue.toDouble()));
    return true;
}

bool BasePostEffect::initialize(QRhi *rhi, const QSize &)
{
    if (m_rhi != rhi)
        release();
    m_rhi = rhi;
    if (!m_failed && !m_sampler)
        m_failed = !createResources();
    return !m_failed;
}

void BasePostEffect::setRenderPassDescriptor(QRhiRenderPassDescriptor *descriptor)
{
    m_descriptor = descriptor;
}

void BasePostEffect::prepareFrame(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source)
{
    QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
    m_failed = m_failed || !updates || !m_pass.prepare(rhi, updates) ||
               !m_pass.ensure(rhi, m_descriptor, 1, bindings(source));
    if (!updates)
        return;
    if (m_block) {
        const QByteArray data = block();
        updates->updateDynamicBuffer(m_block.get(), 0, quint32(data.size()), data.constData());
    }
    upload(updates);
    commands->resourceUpdate(updates);
}

void BasePostEffect::render(QRhiCommandBuffer *commands, const QSize &targetSize)
{
    m_pass.draw(commands, targetSize);
}

void BasePostEffect::release()
{
    m_pass.release();
    m_block.reset();
    m_sampler.reset();
    m_rhi = nullptr;
    m_failed = false;
}

QByteArray BasePostEffect::block() const
{
    return paddedBlock(m_values);
}

QByteArray BasePostEffect::paddedBlock(const QList<float> &values)
{
    const qsizetype bytes = values.size() * qsizetype(sizeof(float));
    QByteArray data((bytes + 15) / 16 * 16, '\0');
    if (bytes > 0)
        std::memcpy(data.data(), values.constData(), std::size_t(bytes));
    return data;
}

bool BasePostEffect::createResources()
{
    m_sampler.reset(m_rhi->newSampler(QRhiSampler::Linear, QRhiSampler::Linear, QRhiSampler::None,
                                      QRhiSampler::ClampToEdge, QRhiSampler::ClampToEdge));
    const qsizetype bytes = block().size();
    if (bytes > 0)
        m_block.reset(
            m_rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, quint32(bytes)));
    return m_sampler->create() && (!m_block || m_block->create()) && createFurtherResources(m_rhi);
}

QVector<QRhiShaderResourceBinding> BasePostEffect::bindings(QRhiTexture *source) const
{
    QVector<QRhiShaderResourceBinding> all{QRhiShaderResourceBinding::sampledTexture(
        sourceBinding, fragmentStage, source, m_sampler.get())};
    if (m_block)
        all.append(
            QRhiShaderResourceBinding::uniformBuffer(m_blockBinding, fragmentStage, m_block.get()));
    return all + furtherBindings();
}

} // namespace corvane::rendering
