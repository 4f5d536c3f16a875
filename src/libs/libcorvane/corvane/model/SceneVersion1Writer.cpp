#include <corvane/model/SceneVersion1Writer.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/PlainValue.h>
#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

template<class Value>
void insertUnlessEmpty(QVariantMap &map, const QString &key, const Value &value)
{
    if (!value.isEmpty())
        map.insert(key, value);
}

QVariantMap entriesMap(const VarsetEntries &entries)
{
    QVariantMap map;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it)
        map.insert(it.key(), plainForFile(it->toVariant()));
    return map;
}

QString withoutBraces(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces);
}

/// The catalogue's materials that items name and the scene lacks are asked of this.
Corvane::MaterialSource &materialSource()
{
    static Corvane::MaterialSource source;
    return source;
}

} // namespace

void Corvane::setMaterialSource(const MaterialSource &source)
{
    materialSource() = source;
}

SceneVersion1Writer::SceneVersion1Writer(const Corvane &scene)
    : m_scene(scene)
{
    QSet<QString> seen;
    for (const SceneItem &item : scene.m_items.items()) {
        if (seen.contains(item.name))
            m_sharedNames.insert(item.name);
        seen.insert(item.name);
    }
}

QVariantMap SceneVersion1Writer::write() const
{
    return {{u"corvane"_s, block()}};
}

bool SceneVersion1Writer::isSafeKey(const QString &name)
{
    static const QString unsafe = u":#\"'-\n\r"_s;
    const auto isUnsafe = [](QChar c) { return unsafe.contains(c); };
    return !name.isEmpty() && name == name.trimmed() &&
           std::none_of(name.cbegin(), name.cend(), isUnsafe);
}

QVariantMap SceneVersion1Writer::block() const
{
    QVariantMap block = plainForFile(m_scene.m_otherKeys).toMap();
    block.insert(u"version"_s, 1);
    insertUnlessEmpty(block, u"name"_s, m_scene.m_name);
    block.insert(u"units"_s, m_scene.m_units);
    if (m_scene.m_embedBuiltins)
        block.insert(u"embed_builtins"_s, true);
    writeVariables(block);
    insertUnlessEmpty(block, u"settings"_s, plainForFile(m_scene.m_settings).toMap());
    insertUnlessEmpty(block, u"definitions"_s, definitionsList());
    insertUnlessEmpty(block, u"materials"_s, materialsMap());
    writeItems(block);
    if (!m_scene.drawsAllItems())
        block.insert(u"roots"_s, rootsList());
    insertUnlessEmpty(block, u"metadata"_s, plainForFile(m_scene.m_metadata).toMap());
    return block;
}

void SceneVersion1Writer::writeVariables(QVariantMap &block) const
{
    const VarsetTable &variables = m_scene.m_variables;
    insertUnlessEmpty(block, u"varset"_s, entriesMap(variables.entries()));
    insertUnlessEmpty(block, u"varsetOrder"_s, QVariant(variables.order()).toList());
    QVariantMap named;
    const auto &varsets = variables.namedVarsets();
    for (auto it = varsets.cbegin(); it != varsets.cend(); ++it)
        named.insert(it.key(), entriesMap(*it));
    insertUnlessEmpty(block, u"varsets"_s, named);
    QVariantMap orders;
    const auto &entryOrder = variables.entryOrder();
    for (auto it = entryOrder.cbegin(); it != entryOrder.cend(); ++it)
        insertUnlessEmpty(orders, it.key(), QVariant(*it).toList());
    insertUnlessEmpty(block, u"varsetEntryOrder"_s, orders);
}

void SceneVersion1Writer::writeItems(QVariantMap &block) const
{
    const auto &items = m_scene.m_items.items();
    const bool allSdf = std::all_of(items.cbegin(), items.cend(), [](const SceneItem &item) {
        return item.itemType == ItemTypes::Sdf;
    });
    QVariantMap written;
    for (const SceneItem &item : items) {
        QVariantMap map = itemMap(item);
        if (allSdf)
            map.remove(u"itemType"_s);
        written.insert(itemKey(item), map);
    }
    insertUnlessEmpty(block, allSdf ? u"instances"_s : u"items"_s, written);
}

QVariantMap SceneVersion1Writer::itemMap(const SceneItem &item) const
{
    QVariantMap map = plainForFile(item.toVariantMap()).toMap();
    const QVariant stored = item.typeData.value(u"params"_s);
    if (item.itemType != ItemTypes::Sdf || stored.typeId() != QMetaType::QVariantMap)
        return map;
    QVariantMap params;
    const QVariantMap raw = stored.toMap();
    for (auto it = raw.cbegin(); it != raw.cend(); ++it)
        params.insert(it.key(), writtenParameter(it.key(), *it));
    if (params.isEmpty())
        map.remove(u"params"_s);
    else
        map.insert(u"params"_s, params);
    return map;
}

QVariant SceneVersion1Writer::writtenParameter(const QString &name, const QVariant &stored) const
{
    const ParameterValue parameter = ParameterValue::fromVariant(stored);
    if (parameter.isExpression())
        return plainForFile(parameter.toVariantMap());
    QVariant literal = plainForFile(parameter.literal);
    if (name == u"children"_s && literal.typeId() == QMetaType::QVariantList) {
        QVariantList references = literal.toList();
        for (QVariant &reference : references)
            reference = unambiguousReference(reference.toString());
        literal = references;
    }
    // Text such as "=a", and maps with certain keys, would be read back as something else.
    const bool readsBack = ParameterValue::fromVariant(literal).literal == literal;
    return readsBack ? literal : QVariant(ParameterValue::fromLiteral(literal).toVariantMap());
}

QString SceneVersion1Writer::unambiguousReference(const QString &reference) const
{
    if (!reference.startsWith(u'@') || !m_sharedNames.contains(reference.mid(1)))
        return reference;
    return u'@' + withoutBraces(m_scene.m_items.resolve(reference));
}

QString SceneVersion1Writer::itemKey(const SceneItem &item) const
{
    const bool own = !m_sharedNames.contains(item.name);
    return own && isSafeKey(item.name) ? item.name : withoutBraces(item.id);
}

QVariantList SceneVersion1Writer::rootsList() const
{
    QVariantList roots;
    for (const QUuid &id : std::as_const(m_scene.m_roots)) {
        const SceneItem *item = m_scene.m_items.find(id);
        if (!item)
            continue;
        const bool named = !item->name.isEmpty() && !m_sharedNames.contains(item->name);
        roots.append(named ? item->name : withoutBraces(id));
    }
    return roots;
}

QVariantMap SceneVersion1Writer::materialsMap() const
{
    QMap<QUuid, CatalogMaterial> used = m_scene.m_materials;
    for (const SceneItem &item : m_scene.m_items.items()) {
        if (item.materialId.isNull() || used.contains(item.materialId) || !materialSource())
            continue;
        if (const auto found = materialSource()(item.materialId))
            used.insert(item.materialId, *found);
    }
    QHash<QString, int> holders;
    for (const CatalogMaterial &material : std::as_const(used))
        ++holders[material.name];
    QVariantMap written;
    for (auto it = used.cbegin(); it != used.cend(); ++it) {
        QVariantMap map = it->toVariantMap();
        map.insert(u"id"_s, withoutBraces(it.key()));
        const bool named = isSafeKey(it->name) && holders.value(it->name) == 1;
        written.insert(named ? it->name : withoutBraces(it.key()), map);
    }
    return written;
}

QVariantList SceneVersion1Writer::definitionsList() const
{
    QVariantList definitions;
    if (m_scene.m_embedBuiltins) {
        QSet<QString> embedded;
        for (const SceneItem &item : m_scene.m_items.items()) {
            const QString id = Instance(item).definitionId();
            if (item.itemType != ItemTypes::Sdf || id.isEmpty() || embedded.contains(id) ||
                m_scene.hasCustomDefinition(id))
                continue;
            embedded.insert(id);
            const auto builtin = registry::Registry::instance().getDefinition(id);
            if (builtin && builtin->isFromResources())
                definitions.append(plainForFile(builtin->toVariantMap()));
        }
    }
    for (const auto &definition : std::as_const(m_scene.m_customDefinitions))
        definitions.append(plainForFile(definition->toVariantMap()));
    return definitions;
}

} // namespace corvane::model
