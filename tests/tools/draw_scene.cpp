// Draws a scene file into a picture, and what the G-buffer holds into raw planes. A tool of the
// tests and of whoever wants to look at what the renderer does; it reads a scene as `export` does.

#include "DrawOptions.h"
#include "ScenePicture.h"

#include <corvane/aa/AntialiasStrategyFactory.h>
#include <corvane/camera/CameraController.h>
#include <corvane/eval/DefinitionTable.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/rendering/EnvironmentLayer.h>
#include <corvane/rendering/SDFRenderLayer.h>
#include <corvane/rendering/SceneBox.h>
#include <corvane/rendering/environment/EnvironmentRegistry.h>
#include <corvane/rendering/layers/GroundPlane.h>
#include <corvane/rendering/post/PostEffectRegistry.h>
#include <corvane/shader/ShadingModeRegistry.h>
#include <shader/compileShader.h>
#include <support/VirtualDisplay.h>

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QOffscreenSurface>

#include <chrono>
#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::rendering;

namespace {

enum Status { Success = 0, InputOutputError = 1, UsageError = 2, DrawingFailed = 3 };

int fail(Status status, const QString &text)
{
    std::fprintf(stderr, "draw_scene: %s\n", qPrintable(text));
    return status;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return path.isEmpty() ||
           (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush());
}

SceneBox boxOf(const SDFRenderLayer &layer)
{
    const auto field = layer.field().nodesAsOneField();
    const auto definitions = corvane::eval::DefinitionTable::collect(
        field.nodes, registry::Registry::instance(), layer.field().generator().indices());
    return findSceneBox(field.nodes, field.rootIndex, definitions, 2, false);
}

/// Without an eye from the front, the right and above, with the whole box in sight.
void placeCamera(RenderPipeline &pipeline, const DrawOptions &options, const SceneBox &found)
{
    const BoundingVolume box =
        found.box.isEmpty() ? BoundingVolume({-5, -5, -5}, {5, 5, 5}) : found.box;
    const float aspect = float(options.size.width()) / float(options.size.height());
    camera::CameraController controller;
    controller.setViewportSize(options.size);
    controller.setPose({.eye = options.eye.value_or(box.center() + QVector3D(1.0f, 0.8f, 1.5f)),
                        .target = options.target.value_or(box.center()),
                        .up = options.up});
    controller.setSceneBounds(box);
    camera::Camera view = controller.camera();
    view.setFieldOfView(options.fieldOfView);
    controller.setCamera(view);
    if (!options.eye)
        controller.fitTo(box, options.fieldOfView, aspect);
    pipeline.setCamera(controller.camera());
}

/// Empty, or what there is none of.
QString applyLook(RenderPipeline &pipeline, const DrawOptions &options)
{
    const auto &environments = EnvironmentRegistry::instance();
    const auto background = environments.create(options.environment);
    const auto lighting = environments.create(options.lighting);
    const auto mode = corvane::shader::ShadingModeRegistry::instance().mode(options.mode);
    if (!background || !lighting)
        return u"there is no environment '%1'; there are: %2"_s.arg(
            background ? options.lighting : options.environment, environments.ids().join(u", "_s));
    if (!mode || !pipeline.setShadingMode(mode))
        return u"there is no shading mode '%1' for single frames; there are: %2"_s.arg(
            options.mode, corvane::shader::ShadingModeRegistry::instance().ids().join(u", "_s));
    if (!pipeline.setToneMapping(options.tonemap))
        return u"there is no tone map '%1'; there are: %2"_s.arg(
            options.tonemap,
            PostEffectRegistry::instance().idsByCategory(u"tonemap"_s).join(u", "_s));
    const QSharedPointer<aa::IAntialiasStrategy> antialias(
        aa::AntialiasStrategyFactory::create(options.antialias).release());
    if (antialias->id() != options.antialias)
        return u"there is no anti-aliasing strategy '%1'"_s.arg(options.antialias);
    pipeline.setAntialiasStrategy(antialias);
    pipeline.setEnvironment(background);
    pipeline.setLighting(background, lighting);
    pipeline.groundPlane()->setVisible(options.isGroundShown);
    pipeline.sdfLayer()->setDebugView(options.debugView);
    pipeline.sdfLayer()->setSectionPlanes(options.sections);
    pipeline.sdfLayer()->specialised().setPolicy(options.evaluator == "specialised"_L1
                                                     ? SpecialisedField::Policy::AtOnce
                                                     : SpecialisedField::Policy::Never);
    return {};
}

int savePlanes(ScenePicture &picture, const DrawOptions &options)
{
    if (!writeFile(options.depthPath, options.depthPath.isEmpty() ? "" : picture.depths()))
        return fail(InputOutputError, u"cannot write "_s + options.depthPath);
    if (!writeFile(options.normalsPath, options.normalsPath.isEmpty() ? "" : picture.normals()))
        return fail(InputOutputError, u"cannot write "_s + options.normalsPath);
    if (!writeFile(options.idsPath, options.idsPath.isEmpty() ? "" : picture.itemIds()))
        return fail(InputOutputError, u"cannot write "_s + options.idsPath);
    return Success;
}

int drawScene(QRhi *rhi, model::Corvane &scene, const DrawOptions &options)
{
    ScenePicture picture(rhi, options.size);
    RenderPipeline &pipeline = picture.pipeline();
    pipeline.setCorvane(&scene);
    if (const QString error = applyLook(pipeline, options); !error.isEmpty())
        return fail(UsageError, error);
    QElapsedTimer timer;
    timer.start();
    const SceneBox box = boxOf(*pipeline.sdfLayer());
    const qint64 boxMs = timer.restart();
    if (box.isProved)
        pipeline.sdfLayer()->setBounds(box.box);
    placeCamera(pipeline, options, box);
    picture.draw();
    const qint64 firstMs = timer.restart();
    pipeline.state().addToFrame(render::RenderMasks::cameraChanged);
    const QImage image = picture.draw();
    const qint64 frameMs = timer.elapsed();
    if (image.isNull())
        return fail(DrawingFailed, picture.error());
    if (options.evaluator == "specialised"_L1 && !pipeline.sdfLayer()->specialised().fits())
        return fail(DrawingFailed, u"the scene has no shader of its own"_s);
    const QString problem = pipeline.sdfLayer()->lastError();
    std::fprintf(stderr,
                 "{\"device\":\"%s\",\"nodes\":%d,\"box_ms\":%lld,\"first_ms\":%lld,"
                 "\"frame_ms\":%lld%s%s%s}\n",
                 rhi->driverInfo().deviceName.constData(),
                 int(pipeline.sdfLayer()->field().generatedNodes().size()), boxMs, firstMs, frameMs,
                 problem.isEmpty() ? "" : ",\"problem\":\"", qPrintable(problem),
                 problem.isEmpty() ? "" : "\"");
    if (!image.save(options.outputPath, "PNG"))
        return fail(InputOutputError, u"cannot write "_s + options.outputPath);
    return savePlanes(picture, options);
}

/// As the program does: work in the background ends, and nothing is left to destructors of static
/// objects, drivers' among them.
[[noreturn]] void leave(int status)
{
    ::shader::finishCompiles(std::chrono::seconds(60));
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}

int drawFile(const DrawOptions &options)
{
    registry::Registry::instance().loadBuiltinPrimitives();
    const auto scene = model::Corvane::loadFromFile(options.scenePath);
    if (!scene)
        return fail(InputOutputError, u"failed to load scene from "_s + options.scenePath);
    expr::ExpressionManager expressions(scene.data());
    expressions.evaluateAll();
    std::unique_ptr<QOffscreenSurface> surface;
    if (options.api == "opengl"_L1) {
        surface = std::make_unique<QOffscreenSurface>();
        surface->setFormat(rhi::preferredOffscreenSurfaceFormat());
        surface->create();
    }
    const rhi::RhiPointer device =
        surface ? rhi::createOpenGLRhi(surface.get()) : rhi::createOffscreenRhi(nullptr);
    if (!device)
        return fail(DrawingFailed, u"there is no device of %1 to draw with"_s.arg(options.api));
    return drawScene(device.get(), *scene, options);
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    QString error;
    const auto options = DrawOptions::parse(arguments, error);
    if (!options)
        return fail(UsageError, error + u'\n' + DrawOptions::usage());
    if (options->api == "vulkan"_L1) {
        const QCoreApplication application(argc, argv);
        leave(drawFile(*options));
    }
    const VirtualDisplay display;
    if (!display.isUp())
        return DrawingFailed;
    const QGuiApplication application(argc, argv);
    leave(drawFile(*options));
}
