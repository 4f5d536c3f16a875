#include <eval/gpu/LaneResources.h>

#include <eval/gpu/GpuDevice.h>

using namespace Qt::StringLiterals;

namespace eval::gpu {

namespace {

constexpr int drainFrames = 1024;

} // namespace

LaneResources::~LaneResources() = default;

QString LaneResources::runFrame(GpuDevice &device, const FrameTexts &texts,
                                const std::function<void(QRhiCommandBuffer &)> &record,
                                const std::function<bool()> &isRead)
{
    const auto failure = [&](QRhi::FrameOpResult result, const QString &what) {
        return result == QRhi::FrameOpDeviceLost ? u"QRhi device-lost (%1)"_s.arg(texts.lane)
                                                 : what + texts.suffix;
    };
    QRhiCommandBuffer *commands = nullptr;
    if (const auto began = device.beginFrame(&commands); began != QRhi::FrameOpSuccess)
        return failure(began, u"beginOffscreenFrame failed"_s);
    record(*commands);
    QRhi::FrameOpResult ended = device.endFrame();
    for (int i = 0; ended == QRhi::FrameOpSuccess && !isRead(); ++i) {
        if (i == drainFrames)
            return u"readback never completed (1024 drain frames)"_s + texts.suffix;
        ended = device.beginFrame(&commands);
        if (ended == QRhi::FrameOpSuccess)
            ended = device.endFrame();
    }
    return ended == QRhi::FrameOpSuccess ? QString() : failure(ended, u"drain frame failed"_s);
}

} // namespace eval::gpu
