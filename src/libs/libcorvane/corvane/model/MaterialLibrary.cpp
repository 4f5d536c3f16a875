#include <corvane/model/MaterialLibrary.h>

#include <corvane/model/BuiltinMaterials.h>
#include <corvane/model/Logging.h>
#include <store/FolderLock.h>
#include <store/PrivateFile.h>

#include <QDir>
#include <QRegularExpression>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// Many processes that add at once wait for each other's saves; each takes as long as the disk
/// needs to sync.
constexpr auto patience = std::chrono::seconds(5);

} // namespace

MaterialLibrary::MaterialLibrary(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_files(folder)
{
    loadBuiltins();
    m_defaultMaterialId = idByName(defaultMaterialName());
    load();
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
    if (id == m_defaultMaterialId)
        return true;
    return edit({}, [this, id] {
        if (!m_materials.contains(id))
            return false;
        m_defaultMaterialId = id;
        m_isDefaultUnsaved = true;
        return true;
    });
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
    edit(added.id, [this, &added] {
        if (added.id.isNull() || m_materials.contains(added.id))
            added.id = QUuid::createUuid();
        added.name = uniqueName(added.name);
        added.isBuiltIn = false;
        added.touchModified();
        change(added);
        return true;
    });
    emit materialAdded(added.id);
    return added.id;
}

// The materials come by value where they may be those of the library itself, which is made anew
// from the disk under them.
bool MaterialLibrary::updateMaterial(const CatalogMaterial &material)
{
    CatalogMaterial updated = material;
    const bool isUpdated = edit(updated.id, [this, &updated] {
        const CatalogMaterial *known = this->material(updated.id);
        if (!known || known->isBuiltIn)
            return false;
        m_ids.remove(known->name);
        updated.name = uniqueName(updated.name);
        updated.isBuiltIn = false;
        updated.touchModified();
        change(updated);
        return true;
    });
    if (isUpdated)
        emit materialUpdated(updated.id);
    return isUpdated;
}

bool MaterialLibrary::restoreMaterial(const CatalogMaterial &material)
{
    CatalogMaterial restored = material;
    bool isKnown = false;
    const bool isRestored = edit(restored.id, [&] {
        const CatalogMaterial *known = this->material(restored.id);
        if (restored.id.isNull() || restored.isBuiltIn || (known && known->isBuiltIn))
            return false;
        isKnown = known;
        if (known)
            m_ids.remove(known->name);
        restored.name = uniqueName(restored.name);
        change(restored);
        return true;
    });
    if (isRestored && isKnown)
        emit materialUpdated(restored.id);
    else if (isRestored)
        emit materialAdded(restored.id);
    return isRestored;
}

bool MaterialLibrary::updateBuiltInMaterial(const CatalogMaterial &material)
{
    const CatalogMaterial wanted = material;
    const bool isUpdated = edit(wanted.id, [this, &wanted] {
        const CatalogMaterial *known = this->material(wanted.id);
        if (!known || !known->isBuiltIn)
            return false;
        CatalogMaterial updated = *known;
        updated.material = wanted.material;
        updated.touchModified();
        change(updated);
        return true;
    });
    if (isUpdated)
        emit materialUpdated(wanted.id);
    return isUpdated;
}

bool MaterialLibrary::removeMaterial(const QUuid &id)
{
    const QUuid removed = id;
    const bool isRemoved = edit(removed, [this, removed] {
        const CatalogMaterial *known = material(removed);
        if (!known || known->isBuiltIn || removed == m_defaultMaterialId)
            return false;
        m_ids.remove(known->name);
        m_materials.remove(removed);
        m_unsaved.insert(removed);
        return true;
    });
    if (!isRemoved)
        return false;
    if (m_activeMaterialId == removed)
        setActiveMaterialId(m_defaultMaterialId);
    emit materialRemoved(removed);
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

// ------------------------------------------------------------------ what is on the disk

void MaterialLibrary::loadBuiltins()
{
    const QList<CatalogMaterial> builtins = builtinMaterials();
    for (const CatalogMaterial &material : builtins)
        insert(material);
}

void MaterialLibrary::load()
{
    QString error;
    const auto warn = [&error](const QString &path) {
        if (!error.isEmpty())
            qCWarning(lcModel).noquote() << "MaterialLibrary: Cannot read" << path << "-" << error;
    };
    if (const auto overrides = m_files.readOverrides(error))
        adoptOverrides(*overrides);
    warn(m_files.overridePath());
    if (const auto stored = m_files.readUserMaterials(error))
        adopt(*stored);
    warn(m_files.userPath());
}

bool MaterialLibrary::edit(const QUuid &own, const std::function<bool()> &change)
{
    const Materials before = m_materials;
    bool isDone = false;
    {
        const QString folder = m_files.folder();
        QDir().mkpath(folder);
        const store::FolderLock lock(folder, patience);
        const bool isClear = refresh();
        isDone = change();
        if (isDone && isClear)
            save();
    }
    tellOfOthers(before, own);
    return isDone;
}

// A file that is gone says nothing of the materials in it: they are written anew.
bool MaterialLibrary::refresh()
{
    QString error;
    const auto moveAside = [&error](const QString &path) {
        return error.isEmpty() ||
               !store::setAsideFile(path, u"it can't be read (%1)"_s.arg(error)).isEmpty();
    };
    if (const auto overrides = m_files.readOverrides(error))
        adoptOverrides(*overrides);
    const bool isFirstClear = moveAside(m_files.overridePath());
    if (const auto stored = m_files.readUserMaterials(error))
        adopt(*stored);
    return moveAside(m_files.userPath()) && isFirstClear;
}

void MaterialLibrary::adopt(const MaterialFiles::UserMaterials &stored)
{
    QList<CatalogMaterial> merged;
    for (const CatalogMaterial &material : stored.materials)
        if (!m_unsaved.contains(material.id))
            merged.append(material);
    for (const QUuid &id : std::as_const(m_unsaved))
        if (const CatalogMaterial *own = material(id); own && !own->isBuiltIn)
            merged.append(*own);
    const QUuid ownDefault = m_defaultMaterialId;
    forgetUserMaterials();
    for (CatalogMaterial &material : merged) {
        material.name = uniqueName(material.name);
        insert(material);
    }
    m_defaultMaterialId = m_isDefaultUnsaved && m_materials.contains(ownDefault)
                              ? ownDefault
                              : m_ids.value(stored.defaultName, idByName(defaultMaterialName()));
}

void MaterialLibrary::adoptOverrides(const QList<CatalogMaterial> &overrides)
{
    QHash<QString, Material> tuned;
    for (const CatalogMaterial &material : overrides)
        tuned.insert(material.name, material.material);
    const QList<CatalogMaterial> builtins = builtinMaterials();
    for (const CatalogMaterial &original : builtins) {
        CatalogMaterial &known = m_materials[idByName(original.name)];
        if (!m_unsaved.contains(known.id))
            known.material = tuned.value(original.name, original.material);
    }
}

void MaterialLibrary::tellOfOthers(const Materials &before, const QUuid &own)
{
    QList<QUuid> added, updated, removed;
    for (auto it = m_materials.cbegin(); it != m_materials.cend(); ++it) {
        const auto old = before.constFind(it.key());
        if (it.key() != own && old == before.cend())
            added.append(it.key());
        else if (it.key() != own && *old != *it)
            updated.append(it.key());
    }
    for (auto it = before.cbegin(); it != before.cend(); ++it)
        if (it.key() != own && !m_materials.contains(it.key()))
            removed.append(it.key());
    for (const QUuid &id : std::as_const(added))
        emit materialAdded(id);
    for (const QUuid &id : std::as_const(updated))
        emit materialUpdated(id);
    if (m_activeMaterialId != own && !m_materials.contains(m_activeMaterialId))
        setActiveMaterialId(m_defaultMaterialId);
    for (const QUuid &id : std::as_const(removed))
        emit materialRemoved(id);
}

void MaterialLibrary::insert(const CatalogMaterial &material)
{
    m_materials.insert(material.id, material);
    m_ids.insert(material.name, material.id);
}

void MaterialLibrary::change(const CatalogMaterial &material)
{
    insert(material);
    m_unsaved.insert(material.id);
}

void MaterialLibrary::forgetUserMaterials()
{
    m_materials.removeIf([](const auto &entry) { return !entry.value().isBuiltIn; });
    m_ids.removeIf([this](const auto &entry) { return !m_materials.contains(entry.value()); });
}

bool MaterialLibrary::isBuiltIn(const QUuid &id) const
{
    const CatalogMaterial *known = material(id);
    return known && known->isBuiltIn;
}

void MaterialLibrary::save()
{
    const auto builtins = std::count_if(m_unsaved.cbegin(), m_unsaved.cend(),
                                        [this](const QUuid &id) { return isBuiltIn(id); });
    const bool isUserUnsaved = m_isDefaultUnsaved || builtins < m_unsaved.size();
    if (builtins > 0)
        saveOverrides();
    if (isUserUnsaved)
        saveUserMaterials();
}

void MaterialLibrary::saveUserMaterials()
{
    MaterialFiles::UserMaterials content{.materials = allMaterials(), .defaultName = {}};
    content.materials.removeIf([](const CatalogMaterial &material) { return material.isBuiltIn; });
    const QString byDefault = material(m_defaultMaterialId)->name;
    if (byDefault != defaultMaterialName())
        content.defaultName = byDefault;
    if (!m_files.writeUserMaterials(content))
        return;
    m_isDefaultUnsaved = false;
    m_unsaved.removeIf([this](const QUuid &id) { return !isBuiltIn(id); });
}

void MaterialLibrary::saveOverrides()
{
    QList<CatalogMaterial> overrides;
    const QList<CatalogMaterial> builtins = builtinMaterials();
    for (const CatalogMaterial &original : builtins) {
        const CatalogMaterial *current = material(idByName(original.name));
        if (current->material != original.material)
            overrides.append(*current);
    }
    if (m_files.writeOverrides(overrides))
        m_unsaved.removeIf([this](const QUuid &id) { return isBuiltIn(id); });
}

QString MaterialLibrary::uniqueName(const QString &name) const
{
    QString unique = name.isEmpty() ? u"New material"_s : name;
    while (m_ids.contains(unique))
        unique = copyName(unique);
    return unique;
}

} // namespace corvane::model
