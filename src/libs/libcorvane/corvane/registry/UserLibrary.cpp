#include "UserLibrary.h"

#include "RegistryLog.h"

#include <store/RegularFile.h>
#include <store/SafeFile.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace corvane::registry {

namespace {

constexpr qint64 maxFileSize = 64 * 1024 * 1024;

} // namespace

std::optional<QList<DefinitionPtr>> UserLibrary::load(const QString &path)
{
    if (!QFileInfo::exists(path))
        return std::nullopt;
    QString reason;
    const auto bytes = store::readRegularFile(path, maxFileSize, &reason);
    if (!bytes) {
        qCWarning(lcRegistry).noquote()
            << "Registry: Cannot read user library:" << path << "-" << reason;
        return std::nullopt;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &error);
    if (!document.isObject()) {
        qCWarning(lcRegistry).noquote()
            << "Registry: Cannot read user library:" << path << error.errorString();
        return std::nullopt;
    }
    QList<DefinitionPtr> definitions;
    const QJsonArray entries = document.object().value("primitives"_L1).toArray();
    for (const QJsonValue &entry : entries) {
        const auto definition = Definition::fromVariantMap(entry.toObject().toVariantMap());
        if (definition->isValid())
            definitions.append(definition);
    }
    return definitions;
}

bool UserLibrary::save(const QString &path, const QList<DefinitionPtr> &definitions)
{
    QJsonArray entries;
    for (const DefinitionPtr &definition : definitions)
        entries.append(QJsonObject::fromVariantMap(definition->toVariantMap()));
    const QJsonObject library{
        {u"primitives"_s, entries},
        {u"version"_s, u"1.0"_s},
        {u"generatedBy"_s, u"SDF Primitive Registry"_s},
        {u"timestamp"_s, QDateTime::currentDateTime().toString(Qt::ISODate)},
    };
    QDir().mkpath(QFileInfo(path).path());
    QString error;
    if (store::writeRegularFile(path, QJsonDocument(library).toJson(), &error))
        return true;
    qCWarning(lcRegistry).noquote() << "Registry: Failed to save user library:" << path << error;
    return false;
}

} // namespace corvane::registry
