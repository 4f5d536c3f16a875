#include <corvane/tasks/MeshTasks.h>

#include <corvane/bench/BenchRequest.h>
#include <corvane/bench/MeshExportBench.h>
#include <corvane/tasks/Arguments.h>
#include <corvane/tasks/BenchResults.h>
#include <corvane/tasks/MainThread.h>
#include <corvane/tasks/TaskJson.h>
#include <corvane/tasks/TaskParams.h>
#include <corvane/zirn/FailureText.h>
#include <corvane/zirn/ZirnTaskContext.h>

#include <batch/BatchQueue.h>
#include <store/RegularFile.h>

#include <QFileInfo>
#include <QJsonArray>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

/// The first of the keys that has no text; empty when all have.
QString missingKey(const ZirnTaskParams &arguments, const QStringList &keys)
{
    for (const QString &key : keys) {
        if (arguments.getString(key).isEmpty())
            return key;
    }
    return {};
}

// ------------------------------------------------------------------ export

/// The catalogue shows none of these.
constexpr ParamRow exportParams[] = {
    need("scenePath"_L1, ArgumentKind::Text, u"path of a file"),
    need("outputPath"_L1, ArgumentKind::Text, u"path of a file"),
    may("extractor"_L1, ArgumentKind::Text, u"surface extractor: MC, DC or DC-octree"),
    may("cellSize"_L1, ArgumentKind::Number, u"size of a cell, 0 for that of the scene"),
    may("backend"_L1, ArgumentKind::Text, u"backend: CPU, GPU or Native"),
    may("sealed"_L1, ArgumentKind::Flag, u"flag: true closes the mesh at the bounds"),
    may("postprocess"_L1, ArgumentKind::Value, u"steps as texts"),
    may("timeoutMs"_L1, ArgumentKind::Number, u"longest time of the export, milliseconds"),
};

/// A list of steps, or one step; what is neither stays what it is, to be refused.
QJsonValue postprocessOf(const ZirnTaskParams &arguments)
{
    const QVariant steps = unquoted(arguments.value(u"postprocess"_s));
    if (steps.typeId() == QMetaType::QVariantList || steps.typeId() == QMetaType::QVariantMap)
        return QJsonValue::fromVariant(steps);
    return steps.toString().isEmpty() ? QJsonArray() : QJsonArray{steps.toString()};
}

std::optional<bench::BenchPipelineDefinition> definitionFor(const ZirnTaskParams &arguments,
                                                            QString &error)
{
    QJsonObject object{{"name"_L1, "mesh.export"_L1},
                       {"extractor"_L1, arguments.getString(u"extractor"_s, u"DC-octree"_s)},
                       {"sealed"_L1, arguments.getBool(u"sealed"_s)}};
    if (arguments.contains(u"cellSize"_s))
        object.insert("cellSize"_L1, arguments.getFloat(u"cellSize"_s, -1.0));
    if (arguments.contains(u"backend"_s))
        object.insert("backend"_L1, arguments.getString(u"backend"_s));
    if (arguments.contains(u"postprocess"_s))
        object.insert("postprocess"_L1, postprocessOf(arguments));
    return bench::BenchPipelineDefinition::fromJson(object, error);
}

/// Why the mesh can't go there; empty where it can. A FIFO would be waited for.
QString outputObstacle(const QString &scenePath, const QString &outputPath)
{
    const QFileInfo output(outputPath);
    if (store::isSameFile(scenePath, outputPath))
        return u"%1 is the scene itself"_s.arg(outputPath);
    return output.exists() && !output.isFile() ? u"%1 is no regular file"_s.arg(outputPath)
                                               : QString();
}

QJsonObject metricsJson(const bench::MeshMetrics &metrics)
{
    QJsonObject object;
    for (const bench::MetricColumn &column : bench::metricColumns())
        object.insert(column.name,
                      QJsonValue::fromVariant(bench::metricValue(metrics.*column.value)));
    return object;
}

QString numberText(double value)
{
    return qIsNaN(value) ? QString() : QString::number(value, 'g', 12);
}

ZirnTaskResult measured(const bench::BenchCellResult &cell, const QString &path)
{
    const bench::MeshMetrics &metrics = cell.metrics;
    const QString triangles = numberText(metrics.triangleCount);
    return ZirnTaskResult::succeeded(
        u"Exported %1: %2 triangles, surface mean %3, %4"_s.arg(
            path, triangles, numberText(metrics.surfaceMean),
            metrics.manifold == 1.0 ? u"manifold"_s : u"not manifold"_s),
        {{u"ok"_s, u"true"_s},
         {u"meshPath"_s, path},
         {u"triangles"_s, triangles},
         {u"vertices"_s, numberText(metrics.vertexCount)},
         {u"surfaceMean"_s, numberText(metrics.surfaceMean)},
         {u"featureMean"_s, numberText(metrics.featureMean)},
         {u"manifold"_s, metrics.manifold == 1.0 ? u"true"_s : u"false"_s},
         {u"metrics"_s, compact(metricsJson(metrics))}});
}

// ------------------------------------------------------------------ bench

QPointer<batch::BatchQueue> &benchQueue()
{
    static QPointer<batch::BatchQueue> queue;
    return queue;
}

// What the tasks read; the catalogue shows none of these either.
constexpr ParamRow benchRunParams[] = {
    need("scenesDir"_L1, ArgumentKind::Text, u"path of a folder of scenes"),
    need("definitionsDir"_L1, ArgumentKind::Text, u"path of a folder of definitions"),
    need("dbPath"_L1, ArgumentKind::Text, u"path of a results DB"),
    need("artifactsDir"_L1, ArgumentKind::Text, u"path of a folder for the meshes"),
    may("testSetName"_L1, ArgumentKind::Text, u"name of the test set"),
    may("scenePaths"_L1, ArgumentKind::Value, u"paths of scenes, instead of all in scenesDir"),
    may("definitionPaths"_L1, ArgumentKind::Value,
        u"paths of definitions, instead of all in definitionsDir"),
    may("exportTimeoutMs"_L1, ArgumentKind::Number, u"longest time of an export, milliseconds"),
};

constexpr ParamRow benchQueryParams[] = {
    need("dbPath"_L1, ArgumentKind::Text, u"path of a results DB"),
    may("testSetId"_L1, ArgumentKind::Number, u"number of a test set"),
    may("scene"_L1, ArgumentKind::Text, u"name of a scene"),
    may("definition"_L1, ArgumentKind::Text, u"name of a definition"),
};

constexpr ParamRow benchCompareParams[] = {
    need("dbPath"_L1, ArgumentKind::Text, u"path of a results DB"),
    need("definitionA"_L1, ArgumentKind::Text, u"name of a definition"),
    need("definitionB"_L1, ArgumentKind::Text, u"name of another definition"),
    may("testSetId"_L1, ArgumentKind::Number, u"number of a test set"),
    may("scene"_L1, ArgumentKind::Text, u"name of a scene"),
};

std::optional<QList<BenchRow>> readResults(const ZirnTaskParams &arguments, const QString &attempt,
                                           ZirnTaskResult &failure)
{
    QString error;
    auto rows = BenchResults::read(arguments.getString(u"dbPath"_s),
                                   {.testSetId = arguments.getInt(u"testSetId"_s, -1),
                                    .scene = arguments.getString(u"scene"_s),
                                    .definition = arguments.getString(u"definition"_s)},
                                   error);
    if (!rows)
        failure = failed(
            attempt,
            u"cannot read results from %1: %2"_s.arg(arguments.getString(u"dbPath"_s), error),
            u"check dbPath and run mesh.bench.run first"_s);
    return rows;
}

} // namespace

void setBenchQueue(batch::BatchQueue *queue)
{
    benchQueue() = queue;
}

ZirnTaskResult exportMesh(const ZirnTaskParams &given, ZirnTaskContext &context)
{
    const QString attempt = u"export mesh"_s;
    const ZirnTaskParams arguments(knownArguments(exportParams, given));
    const QString unknown = unknownArgument(attempt, exportParams, given);
    const QString flaw =
        unknown.isEmpty() ? argumentFlaw(attempt, exportParams, arguments.toMap()) : unknown;
    if (!flaw.isEmpty())
        return ZirnTaskResult::failed(flaw);
    const QString scenePath = arguments.getString(u"scenePath"_s);
    const QString outputPath = arguments.getString(u"outputPath"_s);
    QString error;
    const auto definition = definitionFor(arguments, error);
    if (!definition)
        return failed(attempt, error, u"check extractor, cellSize, backend and postprocess"_s);
    const QString obstacle = outputObstacle(scenePath, outputPath);
    if (!obstacle.isEmpty())
        return failed(attempt, obstacle, u"choose another outputPath"_s);
    const auto compiled = onMainThread([&] { return bench::compileSceneFile(scenePath, error); });
    if (!compiled || !*compiled)
        return failed(attempt, u"cannot use scene %1: %2"_s.arg(scenePath, error),
                      u"check scenePath"_s);
    const bench::BenchOptions options{
        .exportTimeoutMs = arguments.getInt(u"timeoutMs"_s, bench::BenchOptions::defaultTimeoutMs)};
    const auto cell = bench::MeshExportBench(options, [&context] {
                          return context.isCancelled();
                      }).runSingleExport(**compiled, *definition, outputPath);
    if (cell.error.isEmpty())
        return measured(cell, outputPath);
    return ZirnTaskResult::failed(failureText(
        {.attempt = attempt,
         .cause = cell.error,
         .state = cell.exportOk ? u"the mesh file was written, but not measured"_s : u"unchanged"_s,
         .suggestion = u"check the bounds and the cell size of the scene, and outputPath"_s}));
}

ZirnTaskResult runBench(const ZirnTaskParams &arguments, ZirnTaskContext &)
{
    const QString unknown = unknownArgument(u"queue bench set"_s, benchRunParams, arguments);
    if (!unknown.isEmpty())
        return ZirnTaskResult::failed(unknown);
    const QString missing = missingKey(
        arguments, {u"scenesDir"_s, u"definitionsDir"_s, u"dbPath"_s, u"artifactsDir"_s});
    if (!missing.isEmpty())
        return ZirnTaskResult::failed(
            u"mesh.bench.run needs '%1'. State: unchanged."_s.arg(missing));
    QVariantMap payload = arguments.toMap();
    QString name = arguments.getString(u"testSetName"_s);
    if (name.isEmpty())
        name = bench::BenchOptions().testSetName;
    payload.insert(u"testSetName"_s, name);
    const batch::BatchJob job{.type = u"corvane/mesh-bench"_s,
                              .source = u"mesh.bench.run"_s,
                              .payload = payload,
                              .origin = u"zirn"_s,
                              .label = name};
    const auto id =
        onMainThread([&job] { return benchQueue() ? benchQueue()->submit(job) : quint64(0); });
    if (id.value_or(0) == 0)
        return failed(u"queue bench set"_s, u"no batch queue available"_s,
                      u"run the plan in Corvane or by corvane zirn"_s);
    const QString idText = QString::number(*id);
    return ZirnTaskResult::succeeded(
        u"Queued bench set as batch job #%1; query the results DB when it completes."_s.arg(idText),
        {{u"jobId"_s, idText}});
}

ZirnTaskResult queryBench(const ZirnTaskParams &arguments, ZirnTaskContext &)
{
    const QString attempt = u"query bench results"_s;
    const QString unknown = unknownArgument(attempt, benchQueryParams, arguments);
    if (!unknown.isEmpty())
        return ZirnTaskResult::failed(unknown);
    if (!missingKey(arguments, {u"dbPath"_s}).isEmpty())
        return failed(attempt, u"dbPath is required"_s, u"provide the path of a results DB"_s);
    ZirnTaskResult failure;
    const auto rows = readResults(arguments, attempt, failure);
    if (!rows)
        return failure;
    QJsonArray array;
    for (const BenchRow &row : *rows)
        array.append(row.toJson());
    const QString count = QString::number(array.size());
    return ZirnTaskResult::succeeded(count + u" result(s)"_s,
                                     {{u"count"_s, count}, {u"rows"_s, compact(array)}});
}

ZirnTaskResult compareBench(const ZirnTaskParams &arguments, ZirnTaskContext &)
{
    const QString attempt = u"compare bench definitions"_s;
    const QString unknown = unknownArgument(attempt, benchCompareParams, arguments);
    if (!unknown.isEmpty())
        return ZirnTaskResult::failed(unknown);
    const QString missing =
        missingKey(arguments, {u"dbPath"_s, u"definitionA"_s, u"definitionB"_s});
    if (!missing.isEmpty())
        return failed(attempt, missing + u" is required"_s,
                      u"provide a results DB and the names of two definitions"_s);
    ZirnTaskResult failure;
    const auto rows = readResults(arguments, attempt, failure);
    if (!rows)
        return failure;
    const auto comparison = BenchComparison::of(*rows, arguments.getString(u"definitionA"_s),
                                                arguments.getString(u"definitionB"_s));
    if (comparison.scenes.isEmpty())
        return failed(attempt,
                      u"no scene was run with both '%1' and '%2'"_s.arg(comparison.definitionA,
                                                                        comparison.definitionB),
                      u"check the names or run mesh.bench.query"_s);
    const QString summary = comparison.summary();
    return ZirnTaskResult::succeeded(summary,
                                     {{u"scenes"_s, QString::number(comparison.scenes.size())},
                                      {u"comparison"_s, compact(comparison.toJson())},
                                      {u"summary"_s, summary}});
}

} // namespace corvane::zirn
