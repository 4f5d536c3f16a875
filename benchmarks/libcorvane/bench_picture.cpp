// What a user waits for before the viewport: a frame of each sample at the sizes of a panel, a
// window and a screen, the first picture of a scene, and what a parameter that is dragged costs the
// processor before the device has it.

#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/rendering/SDFRenderLayer.h>
#include <corvane/rendering/environment/EnvironmentRegistry.h>
#include <corvane/rendering/layers/GroundPlane.h>
#include <tools/ScenePicture.h>

#include <QCoreApplication>
#include <QDir>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::rendering;

namespace {

constexpr QSize sizes[] = {{320, 180}, {640, 360}, {1280, 720}};

QRhi *device()
{
    static const rhi::RhiPointer made = rhi::createOffscreenRhi(nullptr);
    return made.get();
}

/// A scene with its picture, seen from the front, the right and above.
struct View
{
    ScenePicture picture;
    QSharedPointer<model::Corvane> scene;

    View(const QSharedPointer<model::Corvane> &document, const QSize &size,
         SpecialisedField::Policy policy)
        : picture(device(), size)
        , scene(document)
    {
        RenderPipeline &pipeline = picture.pipeline();
        pipeline.setCorvane(scene.data());
        pipeline.sdfLayer()->specialised().setPolicy(policy);
        const auto studio = EnvironmentRegistry::instance().create(u"brand-lighting"_s);
        pipeline.setLighting(studio, studio);
        pipeline.groundPlane()->setVisible(false);
        camera::Camera camera;
        camera.setPose({.eye = {60, 50, 90}, .target = {}, .up = {0, 1, 0}});
        camera.setPlanes(1.0f, 500.0f);
        pipeline.setCamera(camera);
    }
    void moveAndDraw()
    {
        picture.pipeline().state().addToFrame(render::RenderMasks::cameraChanged);
        benchmark::DoNotOptimize(picture.draw());
    }
};

QSharedPointer<model::Corvane> sample(const QString &name)
{
    const auto scene =
        model::Corvane::loadFromFile(QStringLiteral(CORVANE_SAMPLES "/%1.corvane").arg(name));
    if (scene) {
        expr::ExpressionManager expressions(scene.data());
        expressions.evaluateAll();
    }
    return scene;
}

void frame(benchmark::State &state, const QString &name, QSize size,
           SpecialisedField::Policy policy)
{
    const auto scene = sample(name);
    if (!scene || !device())
        return state.SkipWithError("no scene or no device");
    View view(scene, size, policy);
    if (view.picture.draw().isNull())
        return state.SkipWithError(qPrintable(view.picture.error()));
    view.moveAndDraw();
    for (auto _ : state)
        view.moveAndDraw();
    scene->unregisterFileScopedDefinitions();
}

/// With shaders that were compiled before, as after the second start of the program.
void firstPicture(benchmark::State &state, const QString &name)
{
    const auto scene = sample(name);
    for (auto _ : state) {
        View view(scene, {640, 360}, SpecialisedField::Policy::Never);
        benchmark::DoNotOptimize(view.picture.draw());
    }
    scene->unregisterFileScopedDefinitions();
}

/// From the change in the document to the bytes that are handed to the device, of 1,000 spheres.
void parameterEdit(benchmark::State &state)
{
    const auto scene = model::Corvane::create();
    QUuid edited;
    for (int i = 0; i < 1000; ++i) {
        model::Instance ball(u"sphere"_s);
        ball.name = u"ball %1"_s.arg(i);
        ball.setParameter(u"radius"_s, 0.01);
        edited = scene->addItem(ball);
    }
    View view(scene, {32, 32}, SpecialisedField::Policy::WhenStill);
    view.picture.draw();
    SDFRenderLayer &layer = *view.picture.pipeline().sdfLayer();
    RhiContext &context = view.picture.pipeline().context();
    double radius = 0.01;
    qint64 bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        QRhiCommandBuffer *commands = nullptr;
        device()->beginOffscreenFrame(&commands);
        context.commandBuffer = commands;
        context.ensureResourceUpdates();
        state.ResumeTiming();
        model::Instance ball = scene->instance(edited);
        ball.setParameter(u"radius"_s, radius += 1e-6);
        scene->updateItem(ball);
        layer.update(context, 16);
        bytes = layer.lastUploadBytes();
        state.PauseTiming();
        context.flushResourceUpdates();
        device()->endOffscreenFrame();
        state.ResumeTiming();
    }
    state.counters["bytes"] = double(bytes);
}

void registerAll()
{
    const QStringList files =
        QDir(QStringLiteral(CORVANE_SAMPLES)).entryList({u"*.corvane"_s}, QDir::Files);
    for (const QString &file : files) {
        const QString name = file.chopped(8);
        for (const QSize &size : sizes) {
            const QString place = u"%1/%2x%3"_s.arg(name, QString::number(size.width()),
                                                    QString::number(size.height()));
            benchmark::RegisterBenchmark(qPrintable(u"frame/walk/"_s + place), frame, name, size,
                                         SpecialisedField::Policy::Never)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
            benchmark::RegisterBenchmark(qPrintable(u"frame/own/"_s + place), frame, name, size,
                                         SpecialisedField::Policy::AtOnce)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
        benchmark::RegisterBenchmark(qPrintable(u"first_picture/"_s + name), firstPicture, name)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
    benchmark::RegisterBenchmark("parameter_edit/1000", parameterEdit)
        ->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    registry::Registry::instance().loadBuiltinPrimitives();
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
