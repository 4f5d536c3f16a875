#include <corvane/model/SceneVersion1Writer.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/SceneKeys.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

QString withoutBraces(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces);
}

} // namespace

SceneVersion1Writer::SceneVersion1Writer(const Corvane &scene)
    : m_scene(scene)
{
    QSet<QString> seen;
    QSet<QUuid> materialIds;
    for (const SceneItem &item : scene.m_items.items()) {
        if (seen.contains(item.name))
            m_sharedNames.insert(item.name);
        seen.insert(item.name);
        materialIds.insert(item.materialId);
    }
    m_materialAliases = DocumentBlock::materialAliases(scene, materialIds);
}

QVariantMap SceneVersion1Writer::write() const
{
    return {{u"corvane"_s, block()}};
}

QVariantMap SceneVersion1Writer::block() const
{
    QVariantMap block = DocumentBlock::write(m_scene, {});
    block.insert(u"version"_s, 1);
    writeItems(block);
    if (!m_scene.drawsAllItems())
        block.insert(u"roots"_s, rootsList());
    return block;
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
    if (!written.isEmpty())
        block.insert(allSdf ? u"instances"_s : u"items"_s, written);
}

QVariantMap SceneVersion1Writer::itemMap(const SceneItem &item) const
{
    QVariantMap map = item.toVariantMap();
    // Of what is written otherwise below, no plain copy is made first.
    const QVariant stored = map.value(u"params"_s);
    const bool hasParameters =
        item.itemType == ItemTypes::Sdf && stored.typeId() == QMetaType::QVariantMap;
    if (hasParameters)
        map.remove(u"params"_s);
    map = plainForFile(map).toMap();
    const auto alias = m_materialAliases.constFind(item.materialId);
    if (alias != m_materialAliases.cend())
        map.insert(u"materialId"_s, alias->toString());
    if (!hasParameters)
        return map;
    QVariantMap params;
    const QVariantMap raw = stored.toMap();
    for (auto it = raw.cbegin(); it != raw.cend(); ++it)
        params.insert(params.cend(), it.key(), writtenParameter(it.key(), *it));
    if (!params.isEmpty())
        map.insert(u"params"_s, params);
    return map;
}

QVariant SceneVersion1Writer::writtenParameter(const QString &name, const QVariant &stored) const
{
    const ParameterValue parameter = ParameterValue::fromVariant(stored);
    if (parameter.isExpression())
        return parameterForFile(stored);
    QVariant literal = plainForFile(parameter.literal);
    if (name == u"children"_s && literal.typeId() == QMetaType::QVariantList) {
        QVariantList references = literal.toList();
        for (QVariant &reference : references)
            reference = unambiguousReference(reference.toString());
        literal = references;
    }
    return parameterForFile(QVariant::fromValue(ParameterValue::fromLiteral(literal)));
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
    return own && SceneKeys::isSafe(item.name) ? item.name : withoutBraces(item.id);
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

} // namespace corvane::model
