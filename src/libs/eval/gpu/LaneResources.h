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
    quint32 width = 0;     ///< of the target, in pixels; 0 for compute
    quint32 gridWidth = 0; ///< of LaneInput; compute alone reads them
    quint32 gridHeight = 0;
};

/// What one run reads.
struct LaneInput
{
    std::span<const float> floats; ///< the inputs of each point, or the coordinates of a grid
    quint32 gridWidth = 0;         ///< nodes along x, whose coordinates come first; 0: no grid
    quint32 gridHeight = 0;        ///< nodes along y, whose coordinates follow; then those of z
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
    /// The most points of one run(), each with so many floats to be read.
    virtual qsizetype partLimit(int inFloats) const = 0;
    /// Whether inputs may be a grid, where the shader is that of a field.
    virtual bool takesGrids() const { return false; }
    /// Evaluates `count` points. The output is whole or not touched.
    virtual QString run(GpuDevice &device, const LaneInput &input, std::span<float> output,
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
