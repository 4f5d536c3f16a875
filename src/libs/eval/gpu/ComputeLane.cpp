#include <eval/gpu/ComputeLane.h>

#include <eval/gpu/GpuDevice.h>

#include <algorithm>
#include <cstring>

using namespace Qt::StringLiterals;

namespace eval::gpu {

namespace {

/// A buffer has some bytes even where a program has no floats.
int bytesOf(qsizetype floats)
{
    return static_cast<int>(std::max<qsizetype>(floats, 4) * qsizetype(sizeof(float)));
}

} // namespace

QString ComputeLane::build(QRhi *rhi, const QShader &shader, int inFloats, int outFloats)
{
    m_rhi = rhi;
    m_inFloats = inFloats;
    m_outFloats = outFloats;
    m_params.reset(
        rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, sizeof(LaneParams)));
    if (!m_params->create())
        return u"params UBO alloc failed"_s;
    for (auto *const buffer : {&m_input, &m_output}) {
        const int floats = (buffer == &m_input ? inFloats : outFloats) * groupSize;
        buffer->reset(
            rhi->newBuffer(QRhiBuffer::Static, QRhiBuffer::StorageBuffer, bytesOf(floats)));
        if (!(*buffer)->create())
            return u"SSBO alloc failed"_s;
    }
    m_bindings.reset(rhi->newShaderResourceBindings());
    if (!bind())
        return u"shader resource bindings create failed"_s;
    m_pipeline.reset(rhi->newComputePipeline());
    m_pipeline->setShaderStage({QRhiShaderStage::Compute, shader});
    m_pipeline->setShaderResourceBindings(m_bindings.get());
    return m_pipeline->create() ? QString() : u"compute pipeline link failed"_s;
}

bool ComputeLane::bind()
{
    using Binding = QRhiShaderResourceBinding;
    m_bindings->setBindings({Binding::bufferLoad(0, Binding::ComputeStage, m_input.get()),
                             Binding::bufferStore(1, Binding::ComputeStage, m_output.get()),
                             Binding::uniformBuffer(2, Binding::ComputeStage, m_params.get())});
    return m_bindings->create();
}

qsizetype ComputeLane::partLimit(int inFloats) const
{
    const qsizetype groups = m_rhi->resourceLimit(QRhi::MaxThreadGroupsPerDimension);
    const qsizetype widest = std::max({inFloats, m_outFloats, 1});
    return std::max<qsizetype>(1, std::min(groups * groupSize, floatLimit / widest));
}

QString ComputeLane::grow(qsizetype inputFloats, qsizetype outputFloats)
{
    bool isGrown = false;
    for (auto *const buffer : {m_input.get(), m_output.get()}) {
        const bool isInput = buffer == m_input.get();
        const int bytes = bytesOf(isInput ? inputFloats : outputFloats);
        if (int(buffer->size()) >= bytes)
            continue;
        buffer->setSize(bytes);
        if (!buffer->create())
            return isInput ? u"input SSBO resize failed"_s : u"output SSBO resize failed"_s;
        isGrown = true;
    }
    return !isGrown || bind() ? QString() : u"bindings re-create failed"_s;
}

QString ComputeLane::run(GpuDevice &device, const LaneInput &input, std::span<float> output,
                         int count)
{
    const std::span<const float> floats = input.floats;
    if (const QString error = grow(qsizetype(floats.size()), qsizetype(output.size()));
        !error.isEmpty())
        return error;
    const LaneParams params{static_cast<quint32>(count),
                            static_cast<quint32>(m_inFloats),
                            static_cast<quint32>(m_outFloats),
                            0,
                            input.gridWidth,
                            input.gridHeight};
    const int outBytes = static_cast<int>(output.size_bytes());
    rhi::BufferReadback read;
    bool isRead = false;
    read.completed = [&isRead] { isRead = true; };
    const auto record = [&](QRhiCommandBuffer &commands) {
        QRhiResourceUpdateBatch *const uploads = m_rhi->nextResourceUpdateBatch();
        uploads->updateDynamicBuffer(m_params.get(), 0, sizeof params, &params);
        if (!floats.empty())
            uploads->uploadStaticBuffer(m_input.get(), 0, static_cast<int>(floats.size_bytes()),
                                        floats.data());
        commands.beginComputePass(uploads);
        commands.setComputePipeline(m_pipeline.get());
        commands.setShaderResources();
        commands.dispatch((count + groupSize - 1) / groupSize, 1, 1);
        QRhiResourceUpdateBatch *const readback = m_rhi->nextResourceUpdateBatch();
        readback->readBackBuffer(m_output.get(), 0, outBytes, &read);
        commands.endComputePass(readback);
    };
    const QString error =
        runFrame(device, {u"compute lane"_s, {}}, record, [&isRead] { return isRead; });
    if (!error.isEmpty())
        return error;
    if (read.data.size() < outBytes)
        return u"readback size mismatch (got %1, need %2)"_s.arg(read.data.size()).arg(outBytes);
    std::memcpy(output.data(), read.data.constData(), static_cast<size_t>(outBytes));
    return {};
}

} // namespace eval::gpu
