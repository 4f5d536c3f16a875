// Adding, removing and copying nodes and items.
#include <corvane/ops/ItemOps.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentEdit.h>
#include <corvane/model/ItemWrappers.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/Operands.h>
#include <corvane/ops/SceneSnapshot.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

constexpr auto sdfCall = "item.add(sdf)"_L1;

/// The types of items that a document may get, each with the name of its first one.
struct AddedType
{
    const QString &itemType;
    QStringView firstName;
    quint32 capabilities;
};

const AddedType *findAddedType(const QString &itemType)
{
    using namespace model;
    static const AddedType types[] = {
        {ItemTypes::Mesh, u"Mesh 1", 0},
        {ItemTypes::TetVolume, u"Volume 1", 0},
        {ItemTypes::Group, u"Group 1", ItemCapabilities::groupItem},
        {ItemTypes::SdfDomain, u"Domain 1", ItemCapabilities::groupItem},
        {ItemTypes::Camera, u"Camera 1", 0},
    };
    const auto it = std::find_if(std::begin(types), std::end(types),
                                 [&](const AddedType &type) { return type.itemType == itemType; });
    return it == std::end(types) ? nullptr : &*it;
}

OpChange added(const OpContext &context, const QUuid &id, const QString &label)
{
    return {.category = OpCategory::ItemAdded,
            .itemId = id,
            .createdId = id,
            .after = snapshotOf(context, id),
            .textArgs = {label}};
}

/// What the user calls a definition or a component.
QString labelOf(const OpContext &context, const QString &definitionId)
{
    QString label;
    if (const auto *component = context.tree->componentRegistry()->find(definitionId))
        label = component->name;
    else if (const auto known = registry::Registry::instance().getDefinition(definitionId))
        label = known->name;
    return label.isEmpty() ? definitionId : label;
}

bool isKnownDefinition(const OpContext &context, const QString &definitionId)
{
    return context.tree->componentRegistry()->contains(definitionId) ||
           registry::Registry::instance().contains(definitionId);
}

/// The place for a new node in the tree, or why there is none. Items of the document are not in the
/// tree: below those that list nothing the node is at the top.
struct NodePlace
{
    QUuid parentId{};
    QString refusal{};
};

NodePlace placeForNode(const OpContext &context, const OpCall &call, QLatin1StringView key)
{
    const QUuid parentId = call.id(key);
    if (parentId.isNull())
        return {};
    if (context.tree->isComponentInstance(parentId))
        return {{}, u"cannot add into a component instance:"_s};
    if (context.tree->contains(parentId))
        return {parentId, {}};
    return {{}, context.document.hasItem(parentId) ? QString() : u"parent not found:"_s};
}

/// The names of nodes are unique among the document's items as well.
void settleName(OpContext &context, const QUuid &id, const QString &wanted)
{
    const QString name = wanted.isEmpty() ? context.nameOf(id) : wanted;
    context.tree->setInstanceName(id, context.uniqueName(name, id));
}

/// Behind the last of the siblings, since a tie would be broken by the ids, that is, at random.
qint32 nextSortOrder(const OpContext &context, const QUuid &parentId)
{
    const QList<QUuid> siblings = parentId.isNull() ? context.document.hierarchyRootIds()
                                                    : context.document.hierarchyChildIds(parentId);
    return siblings.isEmpty() ? 0 : context.document.item(siblings.last()).sortOrder + 1;
}

/// Whether what is added to the field below it is an item of the document as well: below operators
/// that no tree stands behind, groups and domains.
bool holdsItems(const model::Corvane &document, const QUuid &id)
{
    const QString type = document.item(id).itemType;
    return isOperator(document, id) || type == model::ItemTypes::Group ||
           type == model::ItemTypes::SdfDomain;
}

OpOutcome addItemOfField(OpContext &context, const OpCall &call, const QUuid &parentId)
{
    const QString definitionId = call.text("definitionId"_L1);
    if (!registry::Registry::instance().contains(definitionId))
        return call.refuse(u"only nodes of the tree hold components:"_s, parentId);
    const bool isOperand = isOperator(context.document, parentId);
    if (isOperand && !hasRoom(context.document, parentId))
        return call.refuse(u"no room for another child:"_s, parentId);
    const QString label = labelOf(context, definitionId);
    const QString name = call.text("name"_L1);
    model::Instance item(definitionId);
    item.name = context.uniqueName(name.isEmpty() ? label + u" 1"_s : name);
    item.capabilities = model::ItemCapabilities::sdfItem;
    item.materialId = context.materials.defaultMaterialId();
    item.material = context.materials.material(item.materialId)->material;
    item.parentId = parentId;
    item.sortOrder = nextSortOrder(context, parentId);
    // What is drawn is said from the first item of the field on: of those to come not all are.
    const bool drewAll = context.document.drawsAllItems();
    const bool isFirst = !context.document.hasItemsOfType(model::ItemTypes::Sdf);
    context.document.addItem(item);
    if (isOperand)
        insertOperand(context.document, parentId, item.id, call.number("insertIndex"_L1, -1));
    else if (!drewAll || isFirst)
        context.document.addRoot(item.id);
    OpChange change = added(context, item.id, label);
    if (drewAll && !context.document.drawsAllItems())
        change.after.insert(StateKeys::drewAll, true);
    return change;
}

OpOutcome addNode(OpContext &context, const OpCall &call, bool isContainer)
{
    const QString definitionId = call.text("definitionId"_L1);
    if (!isContainer && definitionId.isEmpty())
        return call.refuse(u"missing definitionId"_s);
    if (!context.tree)
        return call.refuse(u"no LogicalScene"_s);
    if (!isContainer && !isKnownDefinition(context, definitionId))
        return call.refuse(u"unknown definition:"_s, definitionId);
    const QUuid parentId = call.id("parentId"_L1);
    if (!isContainer && !context.node(parentId) && holdsItems(context.document, parentId))
        return addItemOfField(context, call, parentId);
    const NodePlace place = placeForNode(context, call, "parentId"_L1);
    if (!place.refusal.isEmpty())
        return call.refuse(place.refusal, call.text("parentId"_L1));

    model::LogicalScene &tree = *context.tree;
    const model::LogicalScene::Batch batch(tree);
    const QUuid id = isContainer ? tree.addContainer(u"Group"_s, place.parentId)
                                 : tree.addInstance(definitionId, place.parentId);
    if (id.isNull())
        return call.refuse(u"refused:"_s, definitionId);
    const int index = call.number("insertIndex"_L1, -1);
    if (index >= 0)
        tree.moveInstance(id, place.parentId, index);
    settleName(context, id, call.text("name"_L1));
    return added(context, id, isContainer ? u"Group"_s : labelOf(context, definitionId));
}

QVariantMap withoutCommonKeys(QVariantMap typeData)
{
    typeData.removeIf(
        [](QVariantMap::iterator it) { return model::kCommonKeys().contains(it.key()); });
    return typeData;
}

OpOutcome addDocumentItem(OpContext &context, const OpCall &call)
{
    const QString itemType = call.text("itemType"_L1);
    const AddedType *type = findAddedType(itemType);
    if (!type)
        return call.refuse(u"unknown itemType:"_s, itemType);
    const QUuid parentId = call.id("parentId"_L1);
    if (!parentId.isNull() && !context.document.hasItem(parentId))
        return call.refuse(u"parent not found:"_s, parentId);
    const QUuid givenId = call.id("itemId"_L1);
    if (context.contains(givenId))
        return call.refuse(u"itemId is taken:"_s, givenId);

    const QUuid id = givenId.isNull() ? QUuid::createUuid() : givenId;
    const QString name = call.text("name"_L1);
    model::SceneItem item(id);
    item.itemType = itemType;
    item.name = context.uniqueName(name.isEmpty() ? type->firstName.toString() : name);
    item.parentId = parentId;
    item.typeData = withoutCommonKeys(call.map("typeData"_L1));
    item.material = model::Material::fromVariantMap(call.map("material"_L1));
    item.capabilities =
        call.has("capabilities"_L1) ? call.value("capabilities"_L1).toUInt() : type->capabilities;
    item.sortOrder = call.number("sortOrder"_L1, nextSortOrder(context, parentId));
    context.document.addItem(item);
    return added(context, id, item.name);
}

/// New ids and names for a branch, and a place for its root.
QUuid copyNodes(OpContext &context, const QUuid &sourceId, const QUuid &parentId)
{
    const model::LogicalScene::Batch batch(*context.tree);
    const qsizetype end =
        parentId.isNull() ? context.tree->roots().size() : context.tree->children(parentId).size();
    QVariantList branch;
    appendBranchSnapshot(*context.tree, sourceId, branch);
    QHash<QUuid, QUuid> copies;
    for (qsizetype i = 0; i < branch.size(); ++i) {
        const QVariantMap source = branch.at(i).toMap();
        auto node = model::LogicalInstance::fromVariantMap(source);
        const QString base = node.name.isEmpty() ? node.definitionId : node.name;
        const QUuid copy = QUuid::createUuid();
        copies.insert(std::exchange(node.id, copy), copy);
        node.name =
            context.uniqueName(context.tree->generateUniqueName(model::duplicateBaseName(base)));
        node.children.clear();
        node.tags -= {model::ItemTags::Selected, model::ItemTags::Hovered};
        Placement place{parentId, end};
        if (i > 0)
            place = {copies.value(OpCall::toId(source.value(StateKeys::parentId))),
                     source.value(StateKeys::index).toLongLong()};
        restoreNode(*context.tree, nodeSnapshot(node, place));
    }
    return copies.value(sourceId);
}

QUuid copyItem(OpContext &context, model::SceneItem item, const QUuid &parentId)
{
    item.id = QUuid::createUuid();
    item.name = context.uniqueName(item.name + u" Copy"_s);
    item.parentId = parentId;
    item.tags -= {model::ItemTags::Selected, model::ItemTags::Hovered};
    return context.document.addItem(item);
}

/// What stands below an item, in the display tree or in its expression; wrappers go with theirs.
QList<QUuid> itemsToCopy(const OpContext &context, const QUuid &sourceId)
{
    QList<QUuid> ids{sourceId};
    QSet<QUuid> seen{sourceId};
    for (qsizetype i = 0; i < ids.size(); ++i) {
        const QList<QUuid> below = context.document.hierarchyChildIds(ids.at(i)) +
                                   context.document.childInstanceIds(ids.at(i));
        for (const QUuid &child : below) {
            const QUuid owner =
                model::ItemWrappers::ownerOf(context.document, context.document.item(child));
            const QUuid id = owner.isNull() ? child : owner;
            if (seen.contains(id) || context.node(id))
                continue;
            seen.insert(id);
            ids.append(id);
        }
    }
    return ids;
}

/// The copies of operators list the copies, and what moves an item moves its copy.
void copyExpression(OpContext &context, const QHash<QUuid, QUuid> &copies)
{
    const model::Corvane &document = context.document;
    QHash<QUuid, QUuid> standIns;
    for (auto it = copies.cbegin(); it != copies.cend(); ++it) {
        const model::ItemWrappers wrappers(document, it.key());
        if (document.item(it.key()).itemType == model::ItemTypes::Sdf)
            model::ItemWrappers::setTransform(context.document, *it, wrappers.transform());
        standIns.insert(wrappers.outerId(), model::ItemWrappers(document, *it).outerId());
    }
    for (const QUuid &copy : copies) {
        QStringList references = document.instance(copy).childReferences();
        for (QString &reference : references) {
            const QUuid standIn = standIns.value(document.resolveReference(reference));
            if (!standIn.isNull())
                reference = model::DocumentEdit(context.document).referenceTo(standIn);
        }
        restoreOperands(context.document, {{idText(copy), references}});
    }
}

/// The copy of what is drawn is drawn, and the copy of an operand is one.
void placeCopy(OpContext &context, const QUuid &sourceId, const QUuid &copy, const QUuid &parentId)
{
    const QUuid source = model::ItemWrappers(context.document, sourceId).outerId();
    const QUuid outer = model::ItemWrappers(context.document, copy).outerId();
    const QList<QUuid> users = operatorsOver(context.document, source);
    QUuid user = users.value(0);
    if (parentId != context.document.parentInstanceId(sourceId))
        user = isOperator(context.document, parentId) ? parentId : QUuid();
    if (!user.isNull() && hasRoom(context.document, user))
        insertOperand(context.document, user, outer, -1);
    else if (context.document.roots().contains(source) || !user.isNull() || !users.isEmpty())
        context.document.addRoot(outer);
}

OpChange copyItems(OpContext &context, const QUuid &sourceId, const QUuid &parentId)
{
    const qint32 sortOrder = nextSortOrder(context, parentId);
    const QList<QUuid> ids = itemsToCopy(context, sourceId);
    QHash<QUuid, QUuid> copies;
    for (const QUuid &id : ids) {
        model::SceneItem item = context.document.item(id);
        const QUuid below = copies.value(item.parentId, item.parentId);
        if (id == sourceId)
            item.sortOrder = sortOrder;
        copies.insert(id, copyItem(context, item, id == sourceId ? parentId : below));
    }
    copyExpression(context, copies);
    const QUuid copy = copies.value(sourceId);
    placeCopy(context, sourceId, copy, parentId);
    OpChange change = added(context, copy, context.nameOf(copy));
    addToSnapshot(context, change.after, copies.values());
    return change;
}

} // namespace

OpOutcome applyItemAdd(OpContext &context, const OpCall &call)
{
    const QString itemType = call.text("itemType"_L1);
    if (itemType == model::ItemTypes::Sdf)
        return addNode(context, OpCall(sdfCall, call.args()), call.flag("container"_L1));
    if (itemType == model::ItemTypes::Group && context.node(call.id("parentId"_L1)))
        return addNode(context, call, true);
    return addDocumentItem(context, call);
}

OpOutcome applyItemRemove(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    OpChange change{.category = OpCategory::ItemRemoved,
                    .itemId = id,
                    .before = snapshotOf(context, id),
                    .textArgs = {context.nameOf(id)}};
    removeSnapshot(context, change.before);
    return change;
}

OpOutcome applyItemDuplicate(OpContext &context, const OpCall &call)
{
    const QUuid sourceId = call.id("sourceId"_L1);
    if (!context.contains(sourceId))
        return call.refuse(u"item not found:"_s, call.text("sourceId"_L1));
    const bool isNode = context.node(sourceId);
    QUuid parentId = call.id("newParentId"_L1);
    if (parentId.isNull())
        parentId =
            isNode ? context.tree->parentOf(sourceId) : context.document.parentInstanceId(sourceId);
    else if (isNode ? !context.node(parentId) : !context.document.hasItem(parentId))
        return call.refuse(u"parent not found:"_s, parentId);
    if (isNode && context.tree->isComponentInstance(parentId))
        return call.refuse(u"cannot add into a component instance:"_s, parentId);
    if (!isNode)
        return copyItems(context, sourceId, parentId);
    const QUuid copy = copyNodes(context, sourceId, parentId);
    return added(context, copy, context.nameOf(copy));
}

} // namespace corvane::ops
