#include <corvane/model/ItemWrappers.h>

#include <corvane/model/CompiledItems.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentEdit.h>
#include <corvane/model/NodeCompilation.h>
#include <corvane/model/PlainValue.h>
#include <corvane/registry/Registry.h>

#include <array>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

using Role = SDFNodeProvenance::Role;

/// Outermost first, as a node has them.
const std::array<QString, 3> transformIds{u"translate"_s, u"rotate"_s, u"scale"_s};

/// The id that wrappers name as their source.
QUuid sourceOf(const Instance &item)
{
    const SDFNodeProvenance from = item.provenance();
    const bool isCore = from.role == Role::Core && !from.sourceItemId.isNull();
    return isCore ? from.sourceItemId : item.id;
}

QStringList possibleWrappers(const Instance &item)
{
    QStringList wrapperIds(transformIds.cbegin(), transformIds.cend());
    const auto definition = registry::Registry::instance().getDefinition(item.definitionId());
    if (!definition)
        return wrapperIds;
    for (const QString &wrapperId : std::as_const(definition->convenienceWrappers)) {
        if (!wrapperIds.contains(wrapperId))
            wrapperIds.append(wrapperId);
    }
    return wrapperIds;
}

/// Of each wrapper there is, by what it is around.
QHash<QUuid, QUuid> wrappersByChild(const Corvane &document, const Instance &item)
{
    QHash<QUuid, QUuid> wrappers;
    const QUuid source = sourceOf(item);
    const QStringList wrapperIds = possibleWrappers(item);
    for (const QString &wrapperId : wrapperIds) {
        const QUuid id = CompiledItems::itemId(source, wrapperId);
        const QList<QUuid> children = document.childInstanceIds(id);
        if (children.size() == 1 && document.instance(id).provenance().sourceItemId == source)
            wrappers.insert(children.first(), id);
    }
    return wrappers;
}

QVariant valueFor(const QString &wrapperId, const Transform &transform)
{
    if (wrapperId == transformIds[0])
        return transform.translate;
    if (wrapperId == transformIds[1])
        return transform.rotate;
    return qFuzzyIsNull(transform.scale.x()) ? 1.0f : transform.scale.x();
}

std::optional<QVector3D> vectorIn(const Instance &wrapper, const QString &param)
{
    const auto triple = readFloats<3>(wrapper.parameter(param));
    return triple ? std::optional(QVector3D(triple->at(0), triple->at(1), triple->at(2)))
                  : std::nullopt;
}

QString freeName(const Corvane &document, const QUuid &source, const QString &wrapperId)
{
    const QString name = LogicalSceneCompiler::instanceName(source, wrapperId);
    if (document.instanceIdByName(name).isNull())
        return name;
    return u"__c_%1_%2"_s.arg(source.toString(QUuid::WithoutBraces), wrapperId);
}

Instance newWrapper(const Corvane &document, const Instance &item, const QString &wrapperId)
{
    const QUuid source = sourceOf(item);
    Instance wrapper{SceneItem(CompiledItems::itemId(source, wrapperId))};
    wrapper.name = freeName(document, source, wrapperId);
    wrapper.tags = {ItemTags::Compiled};
    wrapper.parentId = item.parentId; // of the same domain
    wrapper.setDefinitionId(wrapperId);
    if (const auto definition = registry::Registry::instance().getDefinition(wrapperId))
        wrapper.setParameters(definition->getDefaultParameters());
    wrapper.setProvenance({.compiledId = wrapper.id,
                           .sourceItemId = source,
                           .sourceItemName = item.name,
                           .role = classifyRoleForSuffix(wrapperId),
                           .roleDetail = wrapperId});
    return wrapper;
}

} // namespace

ItemWrappers::ItemWrappers(const Corvane &document, const QUuid &itemId)
    : m_document(document)
    , m_itemId(itemId)
{
    QHash<QUuid, QUuid> wrappers = wrappersByChild(document, document.instance(itemId));
    while (!wrappers.isEmpty()) {
        const QUuid next = wrappers.take(outerId());
        if (next.isNull())
            break;
        m_ids.append(next);
    }
}

QUuid ItemWrappers::find(const QString &wrapperId) const
{
    const auto it = std::find_if(m_ids.cbegin(), m_ids.cend(), [&](const QUuid &id) {
        return m_document.instance(id).definitionId() == wrapperId;
    });
    return it == m_ids.cend() ? QUuid() : *it;
}

QStringList ItemWrappers::wrapperIds() const
{
    QStringList wrapperIds;
    for (const QUuid &id : m_ids)
        wrapperIds.append(m_document.instance(id).definitionId());
    return wrapperIds;
}

Transform ItemWrappers::transform() const
{
    Transform transform;
    const auto wrapper = [this](int part) { return m_document.instance(find(transformIds[part])); };
    transform.translate = vectorIn(wrapper(0), u"offset"_s).value_or(QVector3D());
    transform.rotate = vectorIn(wrapper(1), u"angles"_s).value_or(QVector3D());
    const float factor = readFloat(wrapper(2).parameter(u"factor"_s)).value_or(1.0f);
    // The wrapper has one number: the item remembers what was asked for on the other axes.
    const QVector3D own = m_document.item(m_itemId).scale;
    transform.scale = own.x() == factor ? own : QVector3D(factor, factor, factor);
    return transform;
}

bool ItemWrappers::setTransform(Corvane &document, const QUuid &itemId, const Transform &transform,
                                const QStringList &needed)
{
    const ItemWrappers present(document, itemId);
    const QUuid source = sourceOf(document.instance(itemId));
    for (const QString &wrapperId : transformIds) {
        if (present.find(wrapperId).isNull() &&
            document.hasItem(CompiledItems::itemId(source, wrapperId)))
            return false;
    }
    SceneItem item = document.item(itemId);
    item.translate = transform.translate;
    item.rotate = transform.rotate;
    item.scale = transform.scale;
    document.updateItem(item);
    for (auto wrapperId = transformIds.crbegin(); wrapperId != transformIds.crend(); ++wrapperId) {
        const QVariant value = valueFor(*wrapperId, transform);
        const bool doesNothing = value == valueFor(*wrapperId, {}) && !needed.contains(*wrapperId);
        QUuid id = ItemWrappers(document, itemId).find(*wrapperId);
        if (id.isNull() && doesNothing)
            continue;
        if (id.isNull())
            insert(document, itemId, *wrapperId);
        id = ItemWrappers(document, itemId).find(*wrapperId);
        Instance wrapper = document.instance(id);
        wrapper.setLiteral(NodeCompilation::connectedParameter(*wrapperId), value);
        document.updateItem(wrapper);
    }
    return true;
}

/// Around those that come further in, or around the item itself.
void ItemWrappers::insert(Corvane &document, const QUuid &itemId, const QString &wrapperId)
{
    const ItemWrappers present(document, itemId);
    QUuid inner = itemId;
    bool isBehind = false;
    for (const QString &other : transformIds) {
        const QUuid found = isBehind ? present.find(other) : QUuid();
        if (!found.isNull() && inner == itemId)
            inner = found;
        isBehind = isBehind || other == wrapperId;
    }
    DocumentEdit edit(document);
    Instance wrapper = newWrapper(document, document.instance(itemId), wrapperId);
    DocumentEdit::setReferences(wrapper, {edit.referenceTo(inner)});
    edit.put(wrapper);
    edit.redirectUsers(inner, wrapper.id);
    edit.commit(nullptr, {});
}

void ItemWrappers::keepOnly(Corvane &document, const QUuid &itemId, const QStringList &wrapperIds)
{
    for (const QString &wrapperId : transformIds) {
        const QUuid id = ItemWrappers(document, itemId).find(wrapperId);
        if (id.isNull() || wrapperIds.contains(wrapperId))
            continue;
        DocumentEdit edit(document);
        edit.redirectUsers(id, document.childInstanceIds(id).first());
        edit.remove(id);
        edit.commit(nullptr, {});
    }
}

QUuid ItemWrappers::ownerOf(const Corvane &document, const SceneItem &item)
{
    if (item.itemType != ItemTypes::Sdf || !item.hasTag(ItemTags::Compiled))
        return {};
    const SDFNodeProvenance from = Instance(item).provenance();
    if (from.role == Role::Core || from.sourceItemId.isNull())
        return {};
    const QUuid owner = document.hasItem(from.sourceItemId)
                            ? from.sourceItemId
                            : CompiledItems::itemId(from.sourceItemId, {});
    return ItemWrappers(document, owner).ids().contains(item.id) ? owner : QUuid();
}

} // namespace corvane::model
