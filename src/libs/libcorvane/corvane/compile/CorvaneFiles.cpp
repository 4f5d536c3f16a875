// Loading and saving a document.
#include <corvane/model/Corvane.h>

#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/CorvaneDSLSerializer.h>
#include <corvane/model/Logging.h>
#include <corvane/model/SceneVersion1Reader.h>
#include <corvane/model/SceneVersion1Writer.h>
#include <corvane/yaml/Savable.h>
#include <store/SafeFile.h>

namespace corvane::model {

QSharedPointer<Corvane> Corvane::loadFromFile(const QString &path, QObject *parent)
{
    const ParseResult result = CorvaneDSLParser::parseFile(path, parent);
    result.logWarnings();
    result.logErrors();
    if (!result.ok())
        return {};
    result.scene->registerFileScopedDefinitions();
    return result.scene;
}

bool Corvane::saveToFile(const QString &path) const
{
    const QVariantMap map = toVariantMap();
    // A file that no reader takes is worth less than the one that it would replace.
    QString error = yaml::whyUnsavableFile(map);
    if (error.isEmpty() &&
        store::writeFile(path, CorvaneDSLSerializer::serializeVariantMap(map).toUtf8(), &error))
        return true;
    qCWarning(lcModel).noquote() << "Corvane::saveToFile: cannot write" << path << "-" << error;
    return false;
}

QVariantMap Corvane::toVariantMap() const
{
    return SceneVersion1Writer(*this).write();
}

QSharedPointer<Corvane> Corvane::fromVariantMap(const QVariantMap &map, QObject *parent)
{
    SceneVersion1Reader reader(map);
    auto scene = reader.read(parent);
    const QStringList warnings = reader.warnings();
    for (const QString &warning : warnings)
        qCWarning(lcModel).noquote() << "Parse warning:" << warning;
    return scene;
}

} // namespace corvane::model
