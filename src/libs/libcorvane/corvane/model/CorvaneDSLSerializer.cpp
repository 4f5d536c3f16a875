#include <corvane/model/CorvaneDSLSerializer.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/Logging.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/SceneVersion2Writer.h>
#include <corvane/yaml/Savable.h>
#include <corvane/yaml/YamlSerializer.h>
#include <store/SafeFile.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

yaml::YamlSerializer::Options fileStyle()
{
    yaml::YamlSerializer::Options options;
    options.indentSize = 2;
    options.sortKeys = false;
    options.compactLists = true;
    options.maxCompactListSize = 4;
    options.lossless = true;
    return options;
}

QVariantMap blockOf(const QString &name, const QString &units)
{
    QVariantMap block{{u"units"_s, units.isEmpty() ? u"mm"_s : units}};
    if (!name.isEmpty())
        block.insert(u"name"_s, name);
    return block;
}

QVariantMap fileOf(SceneVersion2Writer writer, const Corvane &document)
{
    const DocumentBlock::Used used = writer.used();
    writer.setMaterialAliases(DocumentBlock::materialAliases(document, used.materialIds));
    return writer.write(DocumentBlock::write(document, used));
}

bool save(const QString &path, const QVariantMap &file)
{
    QString error = yaml::whyUnsavableFile(file);
    if (error.isEmpty() &&
        store::writeFile(path, CorvaneDSLSerializer::serializeVariantMap(file).toUtf8(), &error))
        return true;
    qCWarning(lcModel).noquote() << "CorvaneDSLSerializer: cannot write" << path << "-" << error;
    return false;
}

} // namespace

QVariantMap CorvaneDSLSerializer::fileMap(const LogicalScene &scene, const Corvane &document)
{
    return fileOf(SceneVersion2Writer(scene), document);
}

QString CorvaneDSLSerializer::serializeVariantMap(const QVariantMap &map)
{
    return yaml::YamlSerializer(fileStyle()).serializeMap(map);
}

bool CorvaneDSLSerializer::serializeLogicalToFile(const LogicalScene &scene, const QString &path,
                                                  const QString &name, const QString &units)
{
    return save(path, SceneVersion2Writer(scene).write(blockOf(name, units)));
}

bool CorvaneDSLSerializer::serializeLogicalToFile(const LogicalScene &scene, const QString &path,
                                                  const Corvane &document)
{
    return save(path, fileOf(SceneVersion2Writer(scene), document));
}

QString CorvaneDSLSerializer::serializeLogicalFiltered(const LogicalScene &scene,
                                                       const QString &name, const QString &units,
                                                       const QSet<QUuid> &filter)
{
    return serializeVariantMap(SceneVersion2Writer(scene, filter).write(blockOf(name, units)));
}

QString CorvaneDSLSerializer::serializeLogicalFiltered(const LogicalScene &scene,
                                                       const Corvane &document,
                                                       const QSet<QUuid> &filter)
{
    return serializeVariantMap(fileOf(SceneVersion2Writer(scene, filter), document));
}

QString CorvaneDSLSerializer::serializeLogical(const LogicalScene &scene, const Corvane &document)
{
    return serializeVariantMap(fileOf(SceneVersion2Writer(scene), document));
}

QString CorvaneDSLSerializer::serializeLogical(const LogicalScene &scene, const QString &name,
                                               const QString &units)
{
    return serializeVariantMap(SceneVersion2Writer(scene).write(blockOf(name, units)));
}

} // namespace corvane::model
