// The command `export`: a scene becomes a mesh file without a display.

#include "ExportOptions.h"
#include "HeadlessCommand.h"
#include "OutputPath.h"
#include "ParameterOverrides.h"
#include "ProgressPrinter.h"
#include "SceneWarnings.h"
#include "TerminalText.h"

#include <corvane/eval/DefinitionWarnings.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/registry/code/ShaderValidator.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/shader/SDFShaderGenerator.h>
#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/ExportPipeline.h>
#include <corvane/xport/ExportRequest.h>
#include <corvane/xport/ExportSettings.h>
#include <store/SafeFile.h>

#include <optional>

using namespace Qt::StringLiterals;
using corvane::expr::ExpressionManager;
using corvane::model::Corvane;
using corvane::registry::Registry;
using corvane::render::SDFLayer;
using corvane::xport::ExportPipeline;
using corvane::xport::ExportRequest;
using corvane::xport::ExportResult;

namespace {

using CorvaneMain::printError;

// ------------------------------------------------------------------ result lines

QString resultLine(const ExportResult &result)
{
    QString line = u"{\"success\":%1,\"triangles\":%2,\"vertices\":%3,\"elapsed\":%4"_s.arg(
        result.success ? u"true"_s : u"false"_s, QString::number(result.triangleCount),
        QString::number(result.vertexCount), QString::number(result.elapsedSeconds));
    if (!result.success)
        line += u",\"error\":\""_s + terminalLine(result.errorMessage) + u'"';
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

QSet<QString> usedIds(const SDFLayer &layer)
{
    return SDFLayer::usedDefinitionIds(layer.generatedNodes(), layer.generator());
}

// What the compilers have against the definitions that the scene brings, in the user's own words;
// the lines of the generated text where the fault is in none of them alone.
void printShaderErrors(const Corvane &scene, const QSet<QString> &used,
                       const corvane::shader::ValidationResult &result,
                       const SceneWarnings &warnings)
{
    printError(u"Error: shader compilation failed"_s);
    QStringList ids;
    const auto definitions = scene.customDefinitions();
    for (const auto &definition : definitions) {
        if (used.contains(definition->id))
            ids.append(definition->id);
    }
    const auto faults = corvane::eval::definitionFaults(Registry::instance(), ids);
    for (const auto &fault : faults)
        printError(u"  "_s + warnings.textOf(fault));
    if (!faults.isEmpty())
        return;
    for (const shader::Diagnostic &diagnostic : result.diagnostics) {
        const QString place = diagnostic.line > 0 ? u"line %1: "_s.arg(diagnostic.line) : QString();
        printError(u"  "_s + place + diagnostic.message);
    }
}

// The field must also compile as a shader: a definition that the viewport cannot draw is not
// exported.
bool addFieldShader(const Corvane &scene, const SDFLayer &layer, const SceneWarnings &warnings,
                    ExportRequest &request)
{
    request.shaderSource = layer.generator().generateFieldSamplingShader();
    if (request.shaderSource.isEmpty()) {
        printError(u"Error: shader generation failed"_s);
        return false;
    }
    const auto result = corvane::shader::ShaderValidator::validate(
        request.shaderSource, QShader::FragmentStage, u"field_sampling"_s);
    if (!result.success) {
        printShaderErrors(scene, usedIds(layer), result, warnings);
        return false;
    }
    request.shaderResult = result;
    return true;
}

// What makes no field: an unknown definition, or an operator that acts on nothing. It is told by
// its name, which the pipeline does not know.
QString brokenNode(const SDFLayer &layer, const Corvane &scene)
{
    using corvane::shader::GpuNodeType;
    const auto &nodes = layer.generatedNodes();
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        const GpuNodeType type = nodes.at(i).type();
        const bool needsNoChild = type == GpuNodeType::Primitive || type == GpuNodeType::CsgOp;
        const bool isKnown = nodes.at(i).definitionIndex != corvane::shader::noDefinitionIndex;
        if (isKnown && (needsNoChild || nodes.at(i).firstChild >= 0))
            continue;
        const auto instance = scene.instance(layer.itemIdForNodeIndex(uint(i)));
        if (!isKnown)
            return u"'%1' has no definition: there is none of the name '%2'"_s.arg(
                instance.name, instance.definitionId());
        return u"'%1' has no child: '%2' needs one to act on"_s.arg(instance.name,
                                                                    instance.definitionId());
    }
    return {};
}

ExportRequest requestOf(const Corvane &scene, const ExpressionManager &expressions,
                        const ExportOptions &options, SceneWarnings &warnings)
{
    const auto settings = corvane::xport::ExportSettings::of(scene, expressions);
    warnings.print(settings.warnings);
    ExportRequest request = settings.request;
    request.cellSize = options.cellSize.value_or(request.cellSize);
    request.backend = options.backend.value_or(request.backend);
    return request;
}

ExportResult runPipeline(const ExportRequest &request)
{
    ExportPipeline pipeline;
    ProgressPrinter progress;
    QObject::connect(&pipeline, &ExportPipeline::progressChanged, &pipeline,
                     [&progress](qint64 current, qint64 total) { progress.show(current, total); });
    return pipeline.runHere(request);
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

int report(const ExportResult &result, const ExportOptions &options, SceneWarnings &warnings)
{
    warnings.print(result.warnings);
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
QSharedPointer<Corvane> loadScene(const ExportOptions &options, SceneWarnings &warnings)
{
    const auto scene = warnings.open(options.scenePath);
    if (!scene) {
        printError(u"Error: failed to load scene from "_s + options.scenePath);
        return {};
    }
    if (options.parametersPath.isNull()) // an empty name is a mistake, such as an unset variable
        return scene;
    QString error;
    const auto overrides = ParameterOverrides::read(options.parametersPath, error);
    if (!overrides) {
        printError(error);
        return {};
    }
    warnings.checkOverrides(*scene, overrides->values());
    overrides->applyTo(*scene);
    printError(u"Applied %1 parameter override(s) from %2"_s.arg(
        QString::number(overrides->count()), options.parametersPath));
    return scene;
}

int failForFormat(const QString &outputPath, const ExportOptions &options, SceneWarnings &warnings)
{
    printError(u"Error: the extension of the output is that of no mesh format; known are "_s +
               OutputPath::knownExtensions());
    return report(
        ExportResult::failed(u"Failed to save mesh: No exporter found for: %1"_s.arg(outputPath)),
        options, warnings);
}

int exportScene(Corvane &scene, ExportRequest request, const ExportOptions &options,
                const QString &outputPath, SceneWarnings &warnings)
{
    // A grid that can't be is said at once, not after the definitions and the shader are compiled.
    const QString gridError = corvane::xport::ChunkScheduler::gridError(request);
    if (!gridError.isEmpty() && !request.autoBounds && !scene.items().isEmpty())
        return report(ExportResult::failed(gridError), options, warnings);
    Registry::instance().loadBuiltinPrimitives();
    SDFLayer layer;
    layer.setScene(&scene);
    warnings.print(corvane::eval::definitionFaults(scene, usedIds(layer)));
    if (!layer.buildError().isEmpty()) {
        printError(u"Error: "_s + layer.buildError());
        return CorvaneMain::OperationFailed;
    }
    if (layer.generatedNodes().isEmpty())
        return finishWithoutGeometry(options, outputPath);
    // Said before the meshing too.
    if (!OutputPath::hasKnownFormat(outputPath))
        return failForFormat(outputPath, options, warnings);
    const QString broken = brokenNode(layer, scene);
    if (!broken.isEmpty())
        return report(ExportResult::failed(u"CPU backend initialization failed: "_s + broken),
                      options, warnings);
    if (!addFieldShader(scene, layer, warnings, request))
        return CorvaneMain::OperationFailed;
    const auto field = layer.nodesAsOneField();
    request.nodes = field.nodes;
    request.rootNodeIndex = field.rootIndex;
    request.outputPath = outputPath;
    const ExportResult result = runWithFallback(request);
    if (!result.success)
        warnings.print(corvane::eval::definitionFaults(scene));
    return report(result, options, warnings);
}

/// False, with a line for the user, for an output that would replace what must stay.
bool mayWrite(const QString &outputPath, const ExportOptions &options, bool isChosenByScene)
{
    QString refusal =
        OutputPath::inputInTheWay(outputPath, {options.scenePath, options.parametersPath});
    if (refusal.isEmpty() && isChosenByScene)
        refusal = OutputPath::strangerInTheWay(outputPath);
    if (!refusal.isEmpty())
        printError(u"Error: "_s + refusal);
    return refusal.isEmpty();
}

int exportFile(const ExportOptions &options)
{
    if (!mayWrite(options.outputPath, options, false))
        return CorvaneMain::InputOutputError;
    SceneWarnings warnings;
    const auto scene = loadScene(options, warnings);
    if (!scene)
        return CorvaneMain::InputOutputError;
    const QString outputPath =
        OutputPath::resolveExportOutputPath(options.scenePath, options.outputPath, *scene);
    const bool isChosenByScene =
        options.outputPath.isNull() &&
        outputPath == scene->sceneSetting(u"export.outputPath"_s).toString();
    if (!mayWrite(outputPath, options, isChosenByScene))
        return CorvaneMain::InputOutputError;
    // Found before the meshing, which may take minutes.
    if (!store::probeWritable(outputPath)) {
        printError(u"Error: cannot write output file "_s + outputPath);
        return CorvaneMain::InputOutputError;
    }
    ExpressionManager expressions(scene.data());
    expressions.evaluateAll();
    warnings.tell(*scene, expressions);
    return exportScene(*scene, requestOf(*scene, expressions, options, warnings), options,
                       outputPath, warnings);
}

} // namespace

namespace CorvaneMain {

int runExport(int argc, char **argv)
{
    return runHeadless(argc, argv, &exportFile);
}

} // namespace CorvaneMain
