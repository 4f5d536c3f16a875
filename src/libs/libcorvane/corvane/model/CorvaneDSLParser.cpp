#include <corvane/model/CorvaneDSLParser.h>

#include <corvane/model/SceneMigrator.h>
#include <corvane/model/SceneVersion1Reader.h>

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// What a device or pipe may give: its length is not known beforehand, and an endless one must not
/// fill the memory before it is refused.
constexpr qint64 maxStreamSize = qint64(64) << 20;
constexpr qint64 readBlock = qint64(1) << 20;
constexpr int yamlIndent = 2;

CorvaneDSLParser::LogicalSceneLoader &logicalSceneLoader()
{
    static CorvaneDSLParser::LogicalSceneLoader loader;
    return loader;
}

void addError(ParseResult &result, const QString &message)
{
    result.errors.append({.line = 0, .column = 0, .message = message});
}

/// The bytes of a file, or none with an error in `result`.
std::optional<QByteArray> readBytes(const QString &path, ParseResult &result)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        addError(result, u"Failed to open file: %1"_s.arg(file.errorString()));
        return std::nullopt;
    }
    const qint64 limit = QFileInfo(path).isFile() ? CorvaneDSLParser::maxFileSize : maxStreamSize;
    QByteArray bytes;
    while (bytes.size() <= limit) {
        const QByteArray block = file.read(readBlock);
        if (block.isEmpty())
            break;
        bytes.append(block);
    }
    if (file.error() != QFileDevice::NoError) {
        addError(result, u"Failed to read file: %1"_s.arg(file.errorString()));
        return std::nullopt;
    }
    if (bytes.size() > limit) {
        addError(result, u"Failed to read file: it is longer than %1 bytes"_s.arg(limit));
        return std::nullopt;
    }
    return bytes;
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

} // namespace

void CorvaneDSLParser::setLogicalSceneLoader(const LogicalSceneLoader &loader)
{
    logicalSceneLoader() = loader;
}

ParseResult CorvaneDSLParser::parseFile(const QString &path, QObject *parent)
{
    ParseResult result;
    const auto bytes = readBytes(path, result);
    if (!bytes)
        return result;
    const QString text = decode(*bytes, result);
    ParseResult parsed = parseText(text, parent);
    parsed.warnings = result.warnings + parsed.warnings;
    return parsed;
}

ParseResult CorvaneDSLParser::parseText(const QString &text, QObject *parent)
{
    ParseResult result;
    result.rawMap = yaml::YamlParser(yamlIndent).parseToVariantMap(text, result.errors);
    if (!result.errors.isEmpty())
        return result;
    const int version = SceneMigrator::detectVersion(result.rawMap);
    if (version >= 2) {
        if (logicalSceneLoader())
            return logicalSceneLoader()(text, parent);
        addError(
            result,
            u"Scene file version %1 is not supported: this build reads version 1 scenes only"_s.arg(
                version));
        return result;
    }
    SceneVersion1Reader reader(result.rawMap);
    result.scene = reader.read(parent);
    result.warnings += reader.warnings();
    if (!result.scene)
        addError(result, u"Failed to create scene from parsed data"_s);
    return result;
}

} // namespace corvane::model
