// The commands that only read a scene: schema and validate.

#include "CorvaneMain.h"
#include "SceneWarnings.h"
#include "TerminalText.h"

#include <corvane/eval/DefinitionWarnings.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/CorvaneSchemaExtractor.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/xport/ExportPipeline.h>
#include <corvane/xport/ExportRequest.h>
#include <corvane/xport/ExportSettings.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using corvane::expr::ExpressionManager;
using corvane::model::Corvane;

namespace {

int print(const QString &text)
{
    if (CorvaneMain::printOutput(text))
        return CorvaneMain::Success;
    CorvaneMain::printError(u"Error: cannot write to standard output"_s);
    return CorvaneMain::InputOutputError;
}

using Loader = QSharedPointer<Corvane> (*)(const QString &path);

/// Prints what `textOf` has to say of the scene that the command line names; an empty text stands
/// for a scene that says nothing.
int inspect(int argc, char **argv, const QString &usage, Loader load,
            QString (*textOf)(const Corvane &))
{
    if (argc <= 2) {
        CorvaneMain::printError(usage);
        return CorvaneMain::UsageError;
    }
    const QCoreApplication application(argc, argv);
    CorvaneMain::applyApplicationNames();
    const QString path = CorvaneMain::pathArgument(argv[2]);
    const auto scene = load(path);
    const QString text = scene ? textOf(*scene) : QString();
    if (!text.isEmpty())
        return print(text);
    CorvaneMain::printError(u"Error: failed to load scene from "_s + path);
    return CorvaneMain::InputOutputError;
}

QSharedPointer<Corvane> load(const QString &path)
{
    return Corvane::loadFromFile(path);
}

/// Tells what export would say of the scene's field and of its box.
void tellOfExport(Corvane &scene, const ExpressionManager &expressions, SceneWarnings &warnings)
{
    const auto settings = corvane::xport::ExportSettings::of(scene, expressions);
    warnings.print(settings.warnings);
    corvane::render::SDFLayer layer;
    layer.setScene(&scene);
    if (!layer.buildError().isEmpty())
        warnings.print({{.where = u"scene"_s,
                         .what = u"an export fails: "_s + layer.buildError(),
                         .remedy = u"Make the scene smaller or simpler"_s}});
    if (!layer.buildError().isEmpty() || layer.generatedNodes().isEmpty())
        return;
    corvane::xport::ExportRequest request = settings.request;
    const auto field = layer.nodesAsOneField();
    request.nodes = field.nodes;
    request.rootNodeIndex = field.rootIndex;
    warnings.print(corvane::xport::ExportPipeline::boxWarnings(request));
}

/// Also tells what export would warn of.
QSharedPointer<Corvane> loadChecked(const QString &path)
{
    SceneWarnings warnings;
    const auto scene = warnings.open(path);
    if (!scene)
        return {};
    ExpressionManager expressions(scene.data());
    expressions.evaluateAll();
    warnings.tell(*scene, expressions);
    tellOfExport(*scene, expressions, warnings);
    warnings.print(corvane::eval::definitionFaults(*scene));
    return scene;
}

QString schemaText(const Corvane &scene)
{
    const QJsonObject schema = corvane::model::CorvaneSchemaExtractor::extractSchema(scene);
    return schema.isEmpty() ? QString()
                            : terminalJson(QString::fromUtf8(QJsonDocument(schema).toJson()));
}

QString summaryText(const Corvane &scene)
{
    return u"ok: %1 vars, %2 instances, %3 roots\n"_s.arg(
        QString::number(scene.variableNames().size()), QString::number(scene.items().size()),
        QString::number(scene.roots().size()));
}

} // namespace

namespace CorvaneMain {

int runSchema(int argc, char **argv)
{
    return inspect(argc, argv, u"Usage: corvane schema <file.corvane>"_s, &load, &schemaText);
}

int runValidate(int argc, char **argv)
{
    return inspect(argc, argv, u"Usage: corvane validate <file.corvane>"_s, &loadChecked,
                   &summaryText);
}

} // namespace CorvaneMain
