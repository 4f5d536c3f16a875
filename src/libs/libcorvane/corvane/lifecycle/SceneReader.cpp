#include <corvane/lifecycle/SceneReader.h>

#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/registry/Registry.h>
#include <store/RegularFile.h>

#include <QCoreApplication>
#include <QCryptographicHash>

using namespace Qt::StringLiterals;

namespace corvane::lifecycle {

namespace {

using model::CorvaneDSLParser;

constexpr qsizetype mostErrorsTold = 3;

QString say(const char *text)
{
    return QCoreApplication::translate("corvane::lifecycle::SceneReader", text);
}

QByteArray digestOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Blake2b_256);
}

QString loadFailure(const QString &path, const QList<yaml::YamlParser::ParseError> &errors)
{
    QString text =
        say(QT_TRANSLATE_NOOP("corvane::lifecycle::SceneReader", "Failed to load scene from:\n%1"))
            .arg(path);
    for (const auto &error : errors.mid(0, mostErrorsTold))
        text += u"\n"_s + error.toString();
    return text;
}

/// A version 1 file with other items than those of the field.
void readDocument(const QString &text, const QString &path, ReadScene &read)
{
    const auto table = registry::Registry::instance().withoutFileScoped();
    const registry::RegistryScope scope(*table);
    const auto parsed = CorvaneDSLParser::parseText(text);
    if (!parsed.ok())
        read.error = loadFailure(path, parsed.errors);
    read.document = parsed.scene;
    read.warnings += parsed.warnings;
}

} // namespace

ReadScene readScene(const QString &path)
{
    ReadScene read;
    QString error;
    const auto bytes = store::readRegularFile(path, CorvaneDSLParser::maxFileSize, &error);
    if (!bytes) {
        read.error =
            say(QT_TRANSLATE_NOOP("corvane::lifecycle::SceneReader", "Failed to open file: %1"))
                .arg(error);
        return read;
    }
    read.digest = digestOf(*bytes);
    const QString text = QString::fromUtf8(*bytes);
    auto parsed = CorvaneDSLParser::parseLogical(text);
    read.warnings = parsed.warnings;
    if (!parsed.errors.isEmpty()) {
        read.error = loadFailure(path, parsed.errors);
    } else if (parsed.logicalScene) {
        read.tree = parsed.logicalScene;
        read.documentBlock = parsed.documentBlock;
    } else {
        readDocument(text, path, read);
    }
    return read;
}

QByteArray fileDigest(const QString &path)
{
    const auto bytes = store::readRegularFile(path, CorvaneDSLParser::maxFileSize);
    return bytes ? digestOf(*bytes) : QByteArray();
}

} // namespace corvane::lifecycle
