// The commands that only read a scene: schema and validate.

#include "CorvaneMain.h"

#include <corvane/model/Corvane.h>
#include <corvane/model/CorvaneSchemaExtractor.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using corvane::model::Corvane;

namespace {

int failedToLoad(const QString &path)
{
    CorvaneMain::printError(u"Error: failed to load scene from "_s + path);
    return CorvaneMain::InputOutputError;
}

int print(const QString &text)
{
    if (CorvaneMain::printOutput(text))
        return CorvaneMain::Success;
    CorvaneMain::printError(u"Error: cannot write to standard output"_s);
    return CorvaneMain::InputOutputError;
}

} // namespace

namespace CorvaneMain {

int runSchema(int argc, char **argv)
{
    if (argc <= 2) {
        printError(u"Usage: corvane schema <file.corvane>"_s);
        return UsageError;
    }
    const QCoreApplication application(argc, argv);
    applyApplicationNames();
    const QString path = pathArgument(argv[2]);
    const auto scene = Corvane::loadFromFile(path);
    if (!scene)
        return failedToLoad(path);
    const QJsonObject schema = corvane::model::CorvaneSchemaExtractor::extractSchema(*scene);
    if (schema.isEmpty())
        return failedToLoad(path);
    return print(QString::fromUtf8(QJsonDocument(schema).toJson(QJsonDocument::Indented)));
}

int runValidate(int argc, char **argv)
{
    if (argc <= 2) {
        printError(u"Usage: corvane validate <file.corvane>"_s);
        return UsageError;
    }
    const QCoreApplication application(argc, argv);
    applyApplicationNames();
    const QString path = pathArgument(argv[2]);
    const auto scene = Corvane::loadFromFile(path);
    if (!scene)
        return failedToLoad(path);
    return print(u"ok: %1 vars, %2 instances, %3 roots\n"_s.arg(
        QString::number(scene->variableNames().size()), QString::number(scene->instances().size()),
        QString::number(scene->roots().size())));
}

} // namespace CorvaneMain
