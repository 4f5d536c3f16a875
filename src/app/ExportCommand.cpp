// The command `export`: a scene becomes a mesh file without a display.

#include "ExportOptions.h"
#include "HeadlessCommand.h"
#include "ParameterOverrides.h"

#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/shader/SDFShaderGenerator.h>
#include <corvane/shader/ShaderValidator.h>
#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/ExportPipeline.h>
#include <corvane/xport/ExportRequest.h>
#include <corvane/xport/ExportSettings.h>
#include <store/SafeFile.h>

#include <QEventLoop>
#include <QFileInfo>

#include <optional>

using namespace Qt::StringLiterals;
using corvane::expr::ExpressionManager;
using corvane::model::Corvane;
using corvane::xport::ExportPipeline;
using corvane::xport::ExportRequest;
using corvane::xport::ExportResult;

namespace {

using CorvaneMain::printError;

// ------------------------------------------------------------------ where the mesh goes

QString extensionOf(const Corvane &scene)
{
    switch (scene.sceneSetting(u"export.format"_s).toInt()) {
    case 1:
        return u".obj"_s;
    case 2:
        return u".ply"_s;
    case 3:
        return u".vtk"_s;
    default:
        return u".stl"_s;
    }
}

QString resolveExportOutputPath(const QString &inputPath, const QString &outputOption,
                                const Corvane &scene)
{
    if (!outputOption.isEmpty())
        return outputOption;
    const QString fromScene = scene.sceneSetting(u"export.outputPath"_s).toString();
    if (!fromScene.isEmpty())
        return fromScene;
    const QFileInfo input(inputPath);
    return input.path() + u'/' + input.completeBaseName() + extensionOf(scene);
}

// ------------------------------------------------------------------ result lines

QString resultLine(const ExportResult &result)
{
    QString line = u"{\"success\":%1,\"triangles\":%2,\"vertices\":%3,\"elapsed\":%4"_s.arg(
        result.success ? u"true"_s : u"false"_s, QString::number(result.triangleCount),
        QString::number(result.vertexCount), QString::number(result.elapsedSeconds));
    if (!result.success)
        line += u",\"error\":\""_s + result.errorMessage + u'"';
    return line + u'}';
}

// ------------------------------------------------------------------ a scene without geometry

int writeEmptyMesh(const QString &path)
{
    QByteArray stl(84, '\0');
    constexpr QByteArrayView header("Ondrel Corvane empty mesh");
    std::copy(header.begin(), header.end(), stl.begin());
    store::SafeFile file(path);
    if (!file.open() || !file.write(stl) || !file.commit()) {
        printError(u"Error: cannot write output file "_s + path);
        return CorvaneMain::InputOutputError;
    }
    printError(u"{\"success\":true,\"triangles\":0,\"vertices\":0,\"elapsed\":0}"_s);
    return CorvaneMain::Success;
}

int finishWithoutGeometry(const ExportOptions &options, const QString &outputPath)
{
    if (options.errorOnEmpty) {
        printError(u"Error: scene has no geometry nodes (--error-on-empty)"_s);
        return CorvaneMain::OperationFailed;
    }
    return writeEmptyMesh(outputPath);
}

// ------------------------------------------------------------------ the export itself

// The field must also compile as a shader: a definition that the viewport cannot draw is not
// exported.
bool addFieldShader(const corvane::shader::SDFShaderGenerator &generator, ExportRequest &request)
{
    request.shaderSource = generator.generateFieldSamplingShader();
    if (request.shaderSource.isEmpty()) {
        printError(u"Error: shader generation failed"_s);
        return false;
    }
    const auto result = corvane::shader::ShaderValidator::validate(
        request.shaderSource, QShader::FragmentStage, u"field_sampling"_s);
    if (!result.success) {
        printError(u"Error: shader compilation failed"_s);
        for (const shader::Diagnostic &diagnostic : result.diagnostics)
            printError(
                u"  line %1: %2"_s.arg(QString::number(diagnostic.line), diagnostic.message));
        return false;
    }
    request.shaderResult = result;
    return true;
}

void printWarnings(const QList<corvane::model::SceneWarning> &warnings)
{
    for (const corvane::model::SceneWarning &warning : warnings)
        printError(warning.toString());
}

ExportRequest requestOf(const Corvane &scene, const ExpressionManager &expressions,
                        const ExportOptions &options)
{
    const auto settings = corvane::xport::ExportSettings::of(scene, expressions);
    printWarnings(settings.warnings);
    ExportRequest request = settings.request;
    request.cellSize = options.cellSize.value_or(request.cellSize);
    request.backend = options.backend.value_or(request.backend);
    return request;
}

ExportResult runPipeline(const ExportRequest &request)
{
    ExportPipeline pipeline;
    ExportResult result;
    QEventLoop loop;
    QObject::connect(&pipeline, &ExportPipeline::progressChanged, &loop,
                     [](qint64 current, qint64 total) {
                         printError(u"Progress: %1/%2 chunks"_s.arg(QString::number(current),
                                                                    QString::number(total)));
                     });
    QObject::connect(&pipeline, &ExportPipeline::finished, &loop,
                     [&](const ExportResult &finished) {
                         result = finished;
                         loop.quit();
                     });
    pipeline.run(request);
    loop.exec();
    return result;
}

ExportResult runWithFallback(ExportRequest request)
{
    ExportResult result = runPipeline(request);
    if (result.success || (request.backend != 1 && request.backend != 2))
        return result;
    printError(u"Warning: %1 backend failed (%2), falling back to CPU"_s.arg(
        request.backend == 1 ? u"GPU"_s : u"Native"_s, result.errorMessage));
    request.backend = 0;
    return runPipeline(request);
}

int report(const ExportResult &result, const ExportOptions &options)
{
    printWarnings(result.warnings);
    printError(resultLine(result));
    if (!result.success)
        return CorvaneMain::OperationFailed;
    if (options.errorOnEmpty && result.triangleCount == 0) {
        printError(u"Error: export produced 0 triangles (--error-on-empty)"_s);
        return CorvaneMain::OperationFailed;
    }
    return CorvaneMain::Success;
}

// The scene with the overrides of --params and all derived values; null after an error was printed.
QSharedPointer<Corvane> loadScene(const ExportOptions &options)
{
    const auto scene = Corvane::loadFromFile(options.scenePath);
    if (!scene) {
        printError(u"Error: failed to load scene from "_s + options.scenePath);
        return {};
    }
    if (options.parametersPath.isEmpty())
        return scene;
    QString error;
    const auto overrides = ParameterOverrides::read(options.parametersPath, error);
    if (!overrides) {
        printError(error);
        return {};
    }
    overrides->applyTo(*scene);
    printError(u"Applied %1 parameter override(s) from %2"_s.arg(
        QString::number(overrides->count()), options.parametersPath));
    return scene;
}

int exportScene(Corvane &scene, ExportRequest request, const ExportOptions &options,
                const QString &outputPath)
{
    // A grid that can't be is said at once, not after the definitions and the shader are compiled.
    const QString gridError = corvane::xport::ChunkScheduler::gridError(request);
    if (!gridError.isEmpty() && !request.autoBounds && !scene.items().isEmpty())
        return report(ExportResult::failed(gridError), options);
    corvane::registry::Registry::instance().loadBuiltinPrimitives();
    corvane::render::SDFLayer layer;
    layer.setScene(&scene);
    if (!layer.buildError().isEmpty()) {
        printError(u"Error: "_s + layer.buildError());
        return CorvaneMain::OperationFailed;
    }
    if (layer.generatedNodes().isEmpty())
        return finishWithoutGeometry(options, outputPath);
    if (!addFieldShader(layer.generator(), request))
        return CorvaneMain::OperationFailed;
    const auto field = layer.nodesAsOneField();
    request.nodes = field.nodes;
    request.rootNodeIndex = field.rootIndex;
    request.outputPath = outputPath;
    return report(runWithFallback(request), options);
}

int exportFile(const ExportOptions &options)
{
    const auto scene = loadScene(options);
    if (!scene)
        return CorvaneMain::InputOutputError;
    const QString outputPath =
        resolveExportOutputPath(options.scenePath, options.outputPath, *scene);
    // Found before the meshing, which may take minutes.
    if (!store::probeWritable(outputPath)) {
        printError(u"Error: cannot write output file "_s + outputPath);
        return CorvaneMain::InputOutputError;
    }
    ExpressionManager expressions(scene.data());
    expressions.evaluateAll();
    return exportScene(*scene, requestOf(*scene, expressions, options), options, outputPath);
}

} // namespace

namespace CorvaneMain {

int runExport(int argc, char **argv)
{
    return runHeadless(argc, argv, &exportFile);
}

} // namespace CorvaneMain
