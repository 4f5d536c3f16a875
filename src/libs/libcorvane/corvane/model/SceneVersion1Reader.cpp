#include <corvane/model/SceneVersion1Reader.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/SceneKeys.h>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

QString label(const SceneItem &item)
{
    return item.name.isEmpty() ? item.id.toString(QUuid::WithoutBraces) : item.name;
}

} // namespace

struct SceneVersion1Reader::ItemEntry
{
    QString key;
    QVariantMap map; ///< as in the file, whose name may be its key
    QUuid id;

    bool isKeyedByName() const
    {
        const auto name = map.constFind(u"name"_s);
        return name == map.cend() ? !key.contains(u'-') : name->toString() == key;
    }
};

SceneVersion1Reader::SceneVersion1Reader(QVariantMap file)
    : m_block(file.value(u"corvane"_s).toMap())
{
    if (m_block.isEmpty())
        m_block = std::move(file);
}

QSharedPointer<Corvane> SceneVersion1Reader::read(QObject *parent)
{
    m_scene = Corvane::create(parent);
    m_scene->m_name = m_block.value(u"name"_s).toString();
    m_scene->m_units = m_block.value(u"units"_s, m_scene->m_units).toString();
    m_scene->m_embedBuiltins = m_block.value(u"embed_builtins"_s).toBool();
    m_scene->m_settings = m_block.value(u"settings"_s).toMap();
    m_scene->m_metadata = m_block.value(u"metadata"_s).toMap();
    m_scene->m_variables = DocumentBlock::readVariables(m_block);
    m_scene->m_varset = m_scene->m_variables.flattened();
    m_scene->m_customDefinitions = DocumentBlock::readDefinitions(m_block, m_warnings);
    m_scene->m_otherKeys = DocumentBlock::otherKeys(m_block);
    readMaterials();
    readItems();
    dropDanglingReferences();
    readRoots();
    adoptCatalogueMaterials();
    return std::exchange(m_scene, {});
}

void SceneVersion1Reader::readMaterials()
{
    const QList<CatalogMaterial> materials = DocumentBlock::readMaterials(m_block);
    for (const CatalogMaterial &material : materials) {
        m_scene->m_materials.insert(material.id, material);
        m_scene->m_materialNameIndex.insert(material.name, material.id);
    }
}

void SceneVersion1Reader::readItems()
{
    QVariantMap items = m_block.take(u"instances"_s).toMap();
    if (items.isEmpty())
        items = m_block.take(u"items"_s).toMap();
    QList<ItemEntry> entries = itemEntries(std::move(items));
    assignIds(entries);
    for (const ItemEntry &entry : std::as_const(entries))
        m_itemIds.append(entry.id);
    // Where several items claim a name, the one that is keyed by it has it.
    std::stable_partition(entries.begin(), entries.end(),
                          [](const ItemEntry &entry) { return entry.isKeyedByName(); });
    for (ItemEntry &entry : entries)
        m_scene->m_items.put(readItem(entry));
}

QList<SceneVersion1Reader::ItemEntry> SceneVersion1Reader::itemEntries(QVariantMap items)
{
    QList<ItemEntry> entries;
    entries.reserve(items.size());
    for (auto it = items.cbegin(); it != items.cend(); ++it) {
        if (it->typeId() == QMetaType::QVariantMap)
            entries.append({it.key(), it->toMap(), {}});
        else
            m_warnings.add(u"Item '%1' is no map and was dropped"_s.arg(it.key()));
    }
    return entries;
}

void SceneVersion1Reader::assignIds(QList<ItemEntry> &entries)
{
    QSet<QUuid> taken;
    // The ids of the file first: one that is made of a key must not push one of these aside.
    for (ItemEntry &entry : entries) {
        const QUuid id = SceneKeys::statedId(entry.key, entry.map);
        if (id.isNull())
            continue;
        if (taken.contains(id)) {
            m_warnings.add(
                u"Item '%1' has the id of another item and got a new one"_s.arg(entry.key));
            continue;
        }
        taken.insert(id);
        entry.id = id;
    }
    for (ItemEntry &entry : entries) {
        for (int attempt = 0; entry.id.isNull(); ++attempt) {
            const QString seed = u"%1 %2"_s.arg(QString::number(attempt), entry.key);
            const QUuid id = SceneKeys::idOf(seed);
            if (taken.contains(id))
                continue;
            taken.insert(id);
            entry.id = id;
        }
    }
}

/// A set of its own takes more memory than all else of an item.
QSet<QString> SceneVersion1Reader::shared(const QSet<QString> &tags)
{
    constexpr qsizetype most = 32;
    const qsizetype index = m_tagSets.indexOf(tags);
    if (index >= 0)
        return m_tagSets.at(index);
    if (m_tagSets.size() < most)
        m_tagSets.append(tags);
    return tags;
}

SceneItem SceneVersion1Reader::readItem(ItemEntry &entry)
{
    QVariantMap map = SceneKeys::withName(entry.key, std::exchange(entry.map, {}));
    map.insert(u"id"_s, entry.id.toString(QUuid::WithoutBraces));
    SceneItem item = SceneItem::fromVariantMap(map);
    item.tags = shared(item.tags);
    const auto params = item.typeData.find(u"params"_s);
    if (item.itemType != ItemTypes::Sdf || params == item.typeData.end() ||
        params->typeId() != QMetaType::QVariantMap)
        return item;
    QVariantMap values = params->toMap();
    for (QVariant &value : values)
        value = QVariant::fromValue(ParameterValue::fromVariant(value));
    *params = values;
    return item;
}

void SceneVersion1Reader::dropDanglingReferences()
{
    for (const QUuid &id : std::as_const(m_itemIds)) {
        SceneItem item = m_scene->item(id);
        const bool parentDropped = dropDanglingParent(item);
        const bool childrenDropped = dropDanglingChildren(item);
        if (parentDropped || childrenDropped)
            m_scene->m_items.put(item);
    }
    cutParentCycles();
}

bool SceneVersion1Reader::dropDanglingParent(SceneItem &item)
{
    if (item.parentId.isNull() || m_scene->m_items.contains(item.parentId))
        return false;
    m_warnings.add(u"Item '%1': its parent %2 does not exist and was dropped"_s.arg(
        label(item), item.parentId.toString(QUuid::WithoutBraces)));
    item.parentId = {};
    return true;
}

bool SceneVersion1Reader::dropDanglingChildren(SceneItem &item)
{
    if (item.itemType != ItemTypes::Sdf)
        return false;
    Instance instance(item);
    if (instance.parameterValue(u"children"_s).isExpression())
        return false;
    QVariantList kept;
    const QStringList references = instance.childReferences();
    for (const QString &reference : references) {
        if (m_scene->m_items.resolve(reference).isNull())
            m_warnings.add(u"Item '%1': child '%2' names no item and was dropped"_s.arg(label(item),
                                                                                        reference));
        else
            kept.append(reference);
    }
    if (kept.size() == references.size())
        return false;
    instance.setLiteral(u"children"_s, kept);
    item = instance;
    return true;
}

void SceneVersion1Reader::cutParentCycles()
{
    QSet<QUuid> sound; // known to lead to the top
    for (const QUuid &id : std::as_const(m_itemIds)) {
        QSet<QUuid> path;
        QUuid at = id;
        while (!at.isNull() && !sound.contains(at) && !path.contains(at)) {
            path.insert(at);
            at = m_scene->parentInstanceId(at);
        }
        if (path.contains(at)) {
            SceneItem cut = m_scene->item(at);
            m_warnings.add(
                u"Item '%1' stands under itself; its parent was dropped"_s.arg(label(cut)));
            cut.parentId = {};
            m_scene->m_items.put(cut);
        }
        sound.unite(path);
    }
}

void SceneVersion1Reader::readRoots()
{
    const auto roots = m_block.constFind(u"roots"_s);
    if (roots == m_block.cend() || !roots->isValid())
        return;
    m_scene->m_hasRoots = true;
    const QStringList references = roots->toStringList();
    QSet<QUuid> known;
    for (const QString &reference : references) {
        QUuid id = m_scene->m_items.idByName(reference);
        if (id.isNull())
            id = m_scene->m_items.resolve(reference);
        if (id.isNull())
            m_warnings.add(u"Root '%1' names no item and was dropped"_s.arg(reference));
        else if (!known.contains(id))
            m_scene->m_roots.append(id); // "ball" and "@ball" are one root
        known.insert(id);
    }
}

void SceneVersion1Reader::adoptCatalogueMaterials()
{
    // By id: the table would have to copy itself while it is looped over.
    for (const QUuid &id : std::as_const(m_itemIds)) {
        const SceneItem *stored = m_scene->m_items.find(id);
        const auto material = m_scene->m_materials.constFind(stored->materialId);
        if (stored->materialId.isNull() || material == m_scene->m_materials.cend())
            continue;
        SceneItem item = *stored;
        item.material = material->material;
        m_scene->m_items.put(item);
    }
}

} // namespace corvane::model
