#include <corvane/model/MaterialFiles.h>

#include <corvane/model/Logging.h>
#include <store/RegularFile.h>
#include <store/SafeFile.h>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr qint64 maxFileSize = 64 * 1024 * 1024;

std::optional<QJsonObject> readObject(const QString &path, QString &error)
{
    error.clear();
    if (!QFileInfo::exists(path))
        return std::nullopt;
    const auto bytes = store::readRegularFile(path, maxFileSize, &error);
    if (!bytes)
        return std::nullopt;
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &problem);
    if (document.isObject())
        return document.object();
    error = problem.error == QJsonParseError::NoError ? u"it is no library of materials"_s
                                                      : problem.errorString();
    return std::nullopt;
}

bool writeObject(const QString &path, const QJsonObject &object)
{
    QString error = u"the folder cannot be made"_s;
    if (QDir().mkpath(QFileInfo(path).path()) &&
        store::writeRegularFile(path, QJsonDocument(object).toJson(), &error))
        return true;
    qCWarning(lcModel).noquote() << "MaterialLibrary: Cannot write" << path << "-" << error;
    return false;
}

/// Of an entry without an id, or with that of an earlier one: the same at each reading, so that the
/// material is not taken for a new one whenever the file is looked at again.
QUuid idOfEntry(const QJsonObject &entry, int index, const QSet<QUuid> &taken)
{
    const QUuid id = QUuid::fromString(entry.value("id"_L1).toString());
    if (!id.isNull() && !taken.contains(id))
        return id;
    return QUuid::createUuidV5(QUuid(), QByteArray::number(index) +
                                            QJsonDocument(entry).toJson(QJsonDocument::Compact));
}

} // namespace

MaterialFiles::MaterialFiles(const QString &folder)
    : m_folder(folder)
{}

QString MaterialFiles::folder() const
{
    return m_folder.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
                              : m_folder;
}

QString MaterialFiles::userPath() const
{
    return folder() + "/materials.json"_L1;
}

QString MaterialFiles::overridePath() const
{
    return folder() + "/builtin_material_overrides.json"_L1;
}

std::optional<MaterialFiles::UserMaterials> MaterialFiles::readUserMaterials(QString &error) const
{
    const auto stored = readObject(userPath(), error);
    if (!stored)
        return std::nullopt;
    UserMaterials content{.materials = {}, .defaultName = stored->value("default"_L1).toString()};
    QSet<QUuid> taken;
    const QJsonArray entries = stored->value("materials"_L1).toArray();
    for (int i = 0; i < entries.size(); ++i) {
        const QJsonObject entry = entries.at(i).toObject();
        if (!entries.at(i).isObject())
            continue;
        CatalogMaterial material = CatalogMaterial::fromVariantMap(entry.toVariantMap());
        material.id = idOfEntry(entry, i, taken);
        material.isBuiltIn = false;
        taken.insert(material.id);
        content.materials.append(material);
    }
    return content;
}

bool MaterialFiles::writeUserMaterials(const UserMaterials &content) const
{
    QJsonArray entries;
    for (const CatalogMaterial &material : content.materials) {
        QVariantMap map = material.toVariantMap();
        map.insert(u"id"_s, material.id.toString(QUuid::WithoutBraces));
        entries.append(QJsonObject::fromVariantMap(map));
    }
    QJsonObject library{{u"materials"_s, entries}};
    if (!content.defaultName.isEmpty())
        library.insert(u"default"_s, content.defaultName);
    return writeObject(userPath(), library);
}

std::optional<QList<CatalogMaterial>> MaterialFiles::readOverrides(QString &error) const
{
    const auto stored = readObject(overridePath(), error);
    if (!stored)
        return std::nullopt;
    QList<CatalogMaterial> materials;
    const QJsonArray entries = stored->value("overrides"_L1).toArray();
    for (const QJsonValue &entry : entries)
        materials.append(CatalogMaterial::fromVariantMap(entry.toObject().toVariantMap()));
    return materials;
}

bool MaterialFiles::writeOverrides(const QList<CatalogMaterial> &materials) const
{
    QJsonArray overrides;
    for (const CatalogMaterial &material : materials) {
        QVariantMap map = material.material.toVariantMap();
        map.insert(u"name"_s, material.name);
        overrides.append(QJsonObject::fromVariantMap(map));
    }
    return writeObject(overridePath(), {{u"overrides"_s, overrides}});
}

} // namespace corvane::model
