#include <corvane/compile/CorvaneDSLParser.h>

#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/IdSpread.h>
#include <corvane/model/Logging.h>
#include <corvane/model/SceneMigrator.h>
#include <corvane/model/SceneVersion1Reader.h>
#include <corvane/model/SceneVersion2Reader.h>

#include <store/RegularFile.h>

#include <QStringDecoder>

#include <utility>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// What a device or pipe may give: its length is not known beforehand, and an endless one must not
/// fill the memory before it is refused.
constexpr qint64 maxStreamSize = qint64(64) << 20;
constexpr int yamlIndent = 2;

template<class Result>
void addError(Result &result, const QString &message)
{
    result.errors.append({.line = 0, .column = 0, .message = message});
}

ParseResult unopened(const QString &reason)
{
    ParseResult result;
    addError(result, u"Failed to open file: "_s + reason);
    return result;
}

/// UTF-8 unless a byte order mark says otherwise. What cannot be decoded becomes U+FFFD, with a
/// warning.
QString decode(const QByteArray &bytes, ParseResult &result)
{
    const auto encoding = QStringConverter::encodingForData(bytes);
    QStringDecoder decoder(encoding.value_or(QStringConverter::Utf8));
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        result.warnings.append(
            u"The file is not valid UTF-8; what could not be read was replaced"_s);
    return text;
}

/// The part of a file that holds the scene.
QVariantMap blockOf(const QVariantMap &file)
{
    const QVariantMap block = file.value(u"corvane"_s).toMap();
    return block.isEmpty() ? file : block;
}

template<class Result>
void checkIds(const QVariantMap &file, Result &result)
{
    const QString flaw = flawOfIds(blockOf(file));
    if (!flaw.isEmpty())
        addError(result, flaw);
}

/// Whether a version 1 file holds nothing but nodes of the field, which is all that a logical scene
/// has.
bool isFieldOnly(const QVariantMap &block)
{
    const QVariantMap instances = block.value(u"instances"_s).toMap();
    if (instances.isEmpty() && !block.value(u"items"_s).toMap().isEmpty())
        return false;
    return std::all_of(instances.cbegin(), instances.cend(), [](const QVariant &stored) {
        return stored.toMap().value(u"itemType"_s, ItemTypes::Sdf).toString() == ItemTypes::Sdf;
    });
}

/// Gives items the values of the file's materials, which the document itself does not get.
void adoptMaterials(Corvane &scene, const QVariantMap &block)
{
    QHash<QUuid, Material> materials;
    const QList<CatalogMaterial> listed = DocumentBlock::readMaterials(block);
    for (const CatalogMaterial &material : listed)
        materials.insert(material.id, material.material);
    const auto items = scene.items();
    for (SceneItem item : items) {
        const auto material = materials.constFind(item.materialId);
        if (material == materials.cend())
            continue;
        item.material = *material;
        scene.updateItem(item);
    }
}

} // namespace

void ParseResult::logWarnings() const
{
    for (const QString &warning : warnings)
        qCWarning(lcModel).noquote() << "Parse warning:" << warning;
}

void ParseResult::logErrors() const
{
    for (const auto &error : errors)
        qCWarning(lcModel).noquote() << "Parse error:" << error.toString();
}

ParseResult CorvaneDSLParser::parseFile(const QString &path, QObject *parent, const Look &look)
{
    QString error;
    auto bytes = store::readInput(path, {.file = maxFileSize, .stream = maxStreamSize}, &error);
    return bytes ? parseBytes(std::move(*bytes), parent, look) : unopened(error);
}

ParseResult CorvaneDSLParser::parseRegularFile(const QString &path, QObject *parent)
{
    QString error;
    auto bytes = store::readRegularFile(path, maxFileSize, &error);
    return bytes ? parseBytes(std::move(*bytes), parent, {}) : unopened(error);
}

ParseResult CorvaneDSLParser::parseBytes(QByteArray bytes, QObject *parent, const Look &look)
{
    ParseResult result;
    readText(decode(std::exchange(bytes, {}), result), result);
    readScene(result, parent, look);
    return result;
}

ParseResult CorvaneDSLParser::parseText(const QString &text, QObject *parent, const Look &look)
{
    ParseResult result;
    readText(text, result);
    readScene(result, parent, look);
    return result;
}

void CorvaneDSLParser::readText(const QString &text, ParseResult &result)
{
    result.text = text;
    result.rawMap =
        yaml::YamlParser(yamlIndent).parseToVariantMap(text, result.errors, &result.remarks);
    checkIds(result.rawMap, result);
}

/// From the map of the file, unless that had errors.
void CorvaneDSLParser::readScene(ParseResult &result, QObject *parent, const Look &look)
{
    if (!result.errors.isEmpty())
        return;
    if (look)
        look(result);
    if (SceneMigrator::detectVersion(result.rawMap) >= 2) {
        compileLogical(result, parent);
        return;
    }
    result.text = QString();
    SceneVersion1Reader reader(std::exchange(result.rawMap, {}));
    result.scene = reader.read(parent);
    result.warnings += reader.warnings();
    if (!result.scene)
        addError(result, u"Failed to create scene from parsed data"_s);
}

/// Of the file's block, the document gets the definitions alone: without them there would be no
/// geometry.
void CorvaneDSLParser::compileLogical(ParseResult &result, QObject *parent)
{
    const LogicalParseResult logical = parseLogical(result.rawMap);
    result.warnings += logical.warnings;
    result.errors += logical.errors;
    result.logicalScene = logical.logicalScene;
    if (!logical.errors.isEmpty() || !logical.logicalScene)
        return;
    result.scene = Corvane::create(parent);
    DocumentBlock::applyDefinitions(logical.documentBlock, *result.scene, &result.warnings);
    LogicalSceneCompiler compiler;
    compiler.setSource(logical.logicalScene.data());
    compiler.setTarget(result.scene.data());
    compiler.keepWarnings();
    compiler.fullCompile();
    result.warnings += compiler.warnings();
    adoptMaterials(*result.scene, logical.documentBlock);
}

LogicalParseResult CorvaneDSLParser::parseLogical(const QString &text)
{
    QList<yaml::YamlParser::ParseError> errors;
    const QVariantMap file = yaml::YamlParser(yamlIndent).parseToVariantMap(text, errors);
    LogicalParseResult result;
    result.errors = errors;
    checkIds(file, result);
    return result.errors.isEmpty() ? parseLogical(file) : result;
}

LogicalParseResult CorvaneDSLParser::parseLogical(const QVariantMap &file)
{
    LogicalParseResult result;
    QVariantMap current = file;
    if (SceneMigrator::detectVersion(file) < 2) {
        if (!isFieldOnly(blockOf(file)))
            return result;
        QString error;
        current = SceneMigrator::migrateV1toV2(file, result.warnings, &error);
        if (!error.isEmpty()) {
            addError(result, error);
            return result;
        }
    }
    result.documentBlock = blockOf(current);
    SceneVersion2Reader reader(result.documentBlock);
    result.logicalScene = reader.read();
    result.warnings += reader.warnings();
    return result;
}

} // namespace corvane::model
