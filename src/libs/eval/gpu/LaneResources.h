#pragma once

#include <rhi/QRhiCompat.h>

#include <QString>

#include <functional>
#include <span>

namespace eval::gpu {

class GpuDevice;

/// The block `Params` of both shaders.
struct LaneParams
{
    quint32 count = 0;
    quint32 inputStride = 0;
    quint32 outputStride = 0;
    quint32 width = 0; ///< of the target, in pixels; 0 for compute
};

/// What one program keeps on the device in one lane, and how it runs there. Used and destroyed on
/// the thread of the device. Texts of errors are the ends of sentences; empty means success.
class LaneResources
{
public:
    virtual ~LaneResources();
    virtual QString build(QRhi *rhi, const QShader &shader, int inFloats, int outFloats) = 0;
    /// Why so many points are more than the lane can ever take; empty when they are not.
    virtual QString refusal(qsizetype count) const = 0;
    /// The most points of one run().
    virtual qsizetype partLimit() const = 0;
    /// Evaluates `count` points. The output is whole or not touched.
    virtual QString run(GpuDevice &device, std::span<const float> input, std::span<float> output,
                        int count) = 0;

protected:
    /// Buffers and textures of one run hold at most this many floats.
    static constexpr qsizetype floatLimit = 1 << 24;

    struct FrameTexts
    {
        QString lane;   ///< "compute lane"
        QString suffix; ///< of the messages that both lanes have
    };
    /// A frame in which `record` writes the commands, then empty ones until `isRead` is true.
    static QString runFrame(GpuDevice &device, const FrameTexts &texts,
                            const std::function<void(QRhiCommandBuffer &)> &record,
                            const std::function<bool()> &isRead);
};

} // namespace eval::gpu
