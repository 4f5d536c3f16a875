// What a frame of a render worker costs the main thread: taking it from the worker, entering its
// upload, and the frame in which the device copies it. A keep-alive frame is one that changes
// nothing.
//
// On a software device the copy and the drawing are done by the same cores that this measures.

#include <rhi/FrameQueue.h>
#include <rhi/FrameTexture.h>
#include <rhi/OffscreenRhi.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

using namespace rhi;

namespace {

constexpr QSize fullHd(1920, 1080);

WorkerFrame wholeFrame()
{
    return {.size = fullHd,
            .sequence = 1,
            .pixels = QByteArray(fullHd.width() * fullHd.height() * 4, 'x')};
}

/// What the main thread does by itself: everything but the device's frame.
void takeFrame(benchmark::State &state)
{
    const RhiPointer rhi = createOffscreenRhi(nullptr);
    if (!rhi)
        return state.SkipWithError("no device");
    FrameQueue queue;
    FrameTexture texture;
    WorkerFrame frame = wholeFrame();
    for (auto _ : state) {
        ++frame.sequence;
        queue.add(frame);
        QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
        const QList<WorkerFrame> frames = queue.takeFrames();
        bool isUsed = frames.size() == 1;
        for (const WorkerFrame &each : frames)
            isUsed = texture.upload(rhi.get(), updates, each) && isUsed;
        updates->release();
        if (!isUsed)
            return state.SkipWithError("the frame was dropped");
    }
}
BENCHMARK(takeFrame)->Unit(benchmark::kMicrosecond);

/// The same with the copy into the device's memory.
void uploadFrame(benchmark::State &state)
{
    const RhiPointer rhi = createOffscreenRhi(nullptr);
    if (!rhi)
        return state.SkipWithError("no device");
    FrameTexture texture;
    WorkerFrame frame = wholeFrame();
    for (auto _ : state) {
        QRhiCommandBuffer *commands = nullptr;
        rhi->beginOffscreenFrame(&commands);
        QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
        if (!texture.upload(rhi.get(), updates, frame))
            return state.SkipWithError("the frame was dropped");
        commands->resourceUpdate(updates);
        rhi->endOffscreenFrame();
    }
}
BENCHMARK(uploadFrame)->Unit(benchmark::kMicrosecond);

void keepAliveFrame(benchmark::State &state)
{
    FrameQueue queue;
    queue.add({.size = fullHd, .sequence = 1, .pixels = "abcd"});
    const WorkerFrame keepAlive{
        .size = fullHd, .sequence = 1, .pixels = "abcd", .damage = {0, 0, 1, 1}};
    for (auto _ : state) {
        if (queue.add(keepAlive))
            return state.SkipWithError("a keep-alive frame was taken for a new one");
    }
}
BENCHMARK(keepAliveFrame)->Unit(benchmark::kNanosecond);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
