#include <corvane/model/MaterialLibrary.h>

#include <corvane/model/BuiltinMaterials.h>
#include <corvane/model/Logging.h>
#include <store/SafeFile.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr qint64 maxFileSize = 64 * 1024 * 1024;
const QString userFile = QStringLiteral("materials.json");
const QString overrideFile = QStringLiteral("builtin_material_overrides.json");

/// None when the file is there and can't be understood; an empty object when there is none.
std::optional<QJsonObject> readObject(const QString &path)
{
    if (!QFileInfo::exists(path))
        return QJsonObject();
    QFile file(path);
    QString reason = u"it is no library of materials"_s;
    if (!file.open(QIODevice::ReadOnly)) {
        reason = file.errorString();
    } else if (file.size() > maxFileSize) {
        reason = u"it is longer than %1 bytes"_s.arg(maxFileSize);
    } else {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
        if (document.isObject())
            return document.object();
        if (error.error != QJsonParseError::NoError)
            reason = error.errorString();
    }
    qCWarning(lcModel).noquote() << "MaterialLibrary: Cannot read" << path << "-" << reason;
    return std::nullopt;
}

bool writeObject(const QString &path, const QJsonObject &object)
{
    QString error;
    if (QDir().mkpath(QFileInfo(path).path()) &&
        store::writeFile(path, QJsonDocument(object).toJson(), &error))
        return true;
    qCWarning(lcModel).noquote() << "MaterialLibrary: Cannot write" << path << "-" << error;
    return false;
}

} // namespace

MaterialLibrary::MaterialLibrary(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
{
    loadBuiltins();
    m_defaultMaterialId = idByName(defaultMaterialName());
    loadUserMaterials();
    m_activeMaterialId = m_defaultMaterialId;
}

MaterialLibrary &MaterialLibrary::instance()
{
    static MaterialLibrary library{QString()};
    return library;
}

const CatalogMaterial *MaterialLibrary::material(const QUuid &id) const
{
    const auto it = m_materials.constFind(id);
    return it == m_materials.cend() ? nullptr : &*it;
}

QList<CatalogMaterial> MaterialLibrary::allMaterials() const
{
    QList<CatalogMaterial> all = m_materials.values();
    std::sort(all.begin(), all.end(), [](const CatalogMaterial &a, const CatalogMaterial &b) {
        return std::tie(a.category, a.name) < std::tie(b.category, b.name);
    });
    return all;
}

QUuid MaterialLibrary::idByName(const QString &name) const
{
    return m_ids.value(name);
}

bool MaterialLibrary::setDefaultMaterialId(const QUuid &id)
{
    if (!m_materials.contains(id))
        return false;
    if (m_defaultMaterialId != id) {
        m_defaultMaterialId = id;
        save();
    }
    return true;
}

bool MaterialLibrary::setActiveMaterialId(const QUuid &id)
{
    if (!m_materials.contains(id))
        return false;
    if (m_activeMaterialId != id) {
        m_activeMaterialId = id;
        emit activeMaterialChanged(id);
    }
    return true;
}

QUuid MaterialLibrary::addMaterial(const CatalogMaterial &material)
{
    CatalogMaterial added = material;
    if (added.id.isNull() || m_materials.contains(added.id))
        added.id = QUuid::createUuid();
    added.name = uniqueName(added.name);
    added.isBuiltIn = false;
    added.touchModified();
    insert(added);
    save();
    emit materialAdded(added.id);
    return added.id;
}

bool MaterialLibrary::updateMaterial(const CatalogMaterial &material)
{
    const CatalogMaterial *known = this->material(material.id);
    if (!known || known->isBuiltIn)
        return false;
    CatalogMaterial updated = material;
    m_ids.remove(known->name);
    updated.name = uniqueName(updated.name);
    updated.isBuiltIn = false;
    updated.touchModified();
    insert(updated);
    save();
    emit materialUpdated(updated.id);
    return true;
}

bool MaterialLibrary::restoreMaterial(const CatalogMaterial &material)
{
    const CatalogMaterial *known = this->material(material.id);
    if (material.id.isNull() || material.isBuiltIn || (known && known->isBuiltIn))
        return false;
    if (known)
        m_ids.remove(known->name);
    CatalogMaterial restored = material;
    restored.name = uniqueName(restored.name);
    insert(restored);
    save();
    if (known)
        emit materialUpdated(restored.id);
    else
        emit materialAdded(restored.id);
    return true;
}

bool MaterialLibrary::updateBuiltInMaterial(const CatalogMaterial &material)
{
    const CatalogMaterial *known = this->material(material.id);
    if (!known || !known->isBuiltIn)
        return false;
    CatalogMaterial updated = *known;
    updated.material = material.material;
    updated.touchModified();
    insert(updated);
    saveOverrides();
    emit materialUpdated(updated.id);
    return true;
}

bool MaterialLibrary::removeMaterial(const QUuid &id)
{
    const CatalogMaterial *known = material(id);
    if (!known || known->isBuiltIn || id == m_defaultMaterialId)
        return false;
    m_ids.remove(known->name);
    m_materials.remove(id);
    if (m_activeMaterialId == id)
        setActiveMaterialId(m_defaultMaterialId);
    save();
    emit materialRemoved(id);
    return true;
}

QString MaterialLibrary::copyName(const QString &name)
{
    static const QRegularExpression isCopy(u"^(.+?) \\(copy(?: (\\d+))?\\)$"_s);
    const QRegularExpressionMatch match = isCopy.match(name);
    bool isNumber = true;
    const int number = match.hasCaptured(2) ? match.captured(2).toInt(&isNumber) : 1;
    // A number beyond all counting is a part of the name.
    if (!match.hasMatch() || !isNumber || number == std::numeric_limits<int>::max())
        return name + u" (copy)"_s;
    return u"%1 (copy %2)"_s.arg(match.captured(1), QString::number(number + 1));
}

QString MaterialLibrary::filePath(const QString &name) const
{
    if (!m_folder.isEmpty())
        return m_folder + u'/' + name;
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + u'/' + name;
}

void MaterialLibrary::loadBuiltins()
{
    const QList<CatalogMaterial> builtins = builtinMaterials();
    for (const CatalogMaterial &material : builtins)
        insert(material);
    const auto stored = readObject(filePath(overrideFile));
    if (!stored)
        m_unreadable.insert(overrideFile);
    const QJsonArray overrides = stored.value_or(QJsonObject()).value("overrides"_L1).toArray();
    for (const QJsonValue &entry : overrides) {
        const QVariantMap map = entry.toObject().toVariantMap();
        const auto known = m_materials.find(idByName(map.value(u"name"_s).toString()));
        if (known != m_materials.end())
            known->material = CatalogMaterial::fromVariantMap(map).material;
    }
}

void MaterialLibrary::loadUserMaterials()
{
    const auto stored = readObject(filePath(userFile));
    if (!stored)
        m_unreadable.insert(userFile);
    const QJsonArray entries = stored.value_or(QJsonObject()).value("materials"_L1).toArray();
    for (const QJsonValue &entry : entries) {
        if (!entry.isObject())
            continue;
        CatalogMaterial material = CatalogMaterial::fromVariantMap(entry.toObject().toVariantMap());
        material.isBuiltIn = false;
        material.name = uniqueName(material.name);
        if (m_materials.contains(material.id))
            material.id = QUuid::createUuid();
        insert(material);
    }
    const QString byDefault = stored.value_or(QJsonObject()).value("default"_L1).toString();
    if (!byDefault.isEmpty())
        m_defaultMaterialId = m_ids.value(byDefault, m_defaultMaterialId);
}

void MaterialLibrary::insert(const CatalogMaterial &material)
{
    m_materials.insert(material.id, material);
    m_ids.insert(material.name, material.id);
}

void MaterialLibrary::save()
{
    QJsonArray entries;
    const QList<CatalogMaterial> all = allMaterials();
    for (const CatalogMaterial &material : all) {
        if (material.isBuiltIn)
            continue;
        QVariantMap map = material.toVariantMap();
        map.insert(u"id"_s, material.id.toString(QUuid::WithoutBraces));
        entries.append(QJsonObject::fromVariantMap(map));
    }
    QJsonObject library{{u"materials"_s, entries}};
    const QString byDefault = material(m_defaultMaterialId)->name;
    if (byDefault != defaultMaterialName())
        library.insert(u"default"_s, byDefault);
    keepUnreadable(userFile);
    writeObject(filePath(userFile), library);
}

void MaterialLibrary::saveOverrides()
{
    QJsonArray overrides;
    const QList<CatalogMaterial> builtins = builtinMaterials();
    for (const CatalogMaterial &original : builtins) {
        const CatalogMaterial *current = material(idByName(original.name));
        if (current->material == original.material)
            continue;
        QVariantMap map = current->material.toVariantMap();
        map.insert(u"name"_s, current->name);
        overrides.append(QJsonObject::fromVariantMap(map));
    }
    keepUnreadable(overrideFile);
    writeObject(filePath(overrideFile), {{u"overrides"_s, overrides}});
}

void MaterialLibrary::keepUnreadable(const QString &name)
{
    if (!m_unreadable.remove(name))
        return;
    const QString kept = filePath(name) + u".unreadable"_s;
    QFile::remove(kept);
    QFile::rename(filePath(name), kept);
}

QString MaterialLibrary::uniqueName(const QString &name) const
{
    QString unique = name.isEmpty() ? u"New material"_s : name;
    while (m_ids.contains(unique))
        unique = copyName(unique);
    return unique;
}

} // namespace corvane::model
