// Adding, removing and copying nodes and items.
#include <corvane/ops/ItemOps.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/ops/NodePlaces.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
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

/// The place for a new node in the tree, or why there is none. Below what takes no children it is
/// at the top; a group or domain of the document holds what stands there.
struct NodePlace
{
    QUuid parentId{};
    QUuid group{};        ///< of the document
    bool hasItem = false; ///< the node is to be an item by itself, as what it joins
    QString refusal{};
};

bool isGroup(const OpContext &context, const QUuid &id)
{
    const QString type = context.document.item(id).itemType;
    return type == model::ItemTypes::Group || type == model::ItemTypes::SdfDomain;
}

NodePlace placeForNode(const OpContext &context, const OpCall &call, QLatin1StringView key)
{
    const QUuid parentId = call.id(key);
    if (parentId.isNull())
        return {};
    if (context.tree->isComponentInstance(parentId))
        return {.refusal = u"cannot add into a component instance:"_s};
    if (const model::LogicalInstance *parent = context.node(parentId)) {
        if (!takesChildren(context, parentId))
            return {};
        if (!hasRoom(context, parentId))
            return {.refusal = u"no room for another child:"_s};
        return {.parentId = parentId,
                .group = parent->displayParent(),
                .hasItem = parent->hasOwnItem()};
    }
    if (!context.document.hasItem(parentId))
        return {.refusal = u"parent not found:"_s};
    const bool isInGroup = isGroup(context, parentId);
    return {.group = isInGroup ? parentId : QUuid(), .hasItem = isInGroup};
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

/// Such a node has no wrappers before it is moved.
void giveItem(OpContext &context, const QUuid &id, const QUuid &group)
{
    model::LogicalInstance node = *context.node(id);
    node.ownItem = {{u"itemType"_s, model::ItemTypes::Sdf},
                    {u"capabilities"_s, model::ItemCapabilities::sdfItem}};
    if (!group.isNull())
        node.ownItem.insert(u"parentId"_s, idText(group));
    node.wrappers.clear();
    if (const auto *material = context.materials.material(node.materialId))
        node.material = material->material;
    context.tree->replaceInstance(node);
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
    if (place.hasItem && !isContainer && !tree.isComponentInstance(id))
        giveItem(context, id, place.group);
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
    const model::LogicalInstance *above = context.node(parentId);
    if (!parentId.isNull() && !context.document.hasItem(parentId) &&
        !(above && above->hasOwnItem()))
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

/// A copy of a branch. A part that the branch uses but that stands elsewhere is copied into the
/// first of its places in the branch.
class BranchCopy
{
public:
    explicit BranchCopy(OpContext &context)
        : m_context(context)
    {}

    QUuid make(const QUuid &sourceId, const Placement &place)
    {
        m_top = sourceId;
        const model::LogicalScene::Batch batch(*m_context.tree);
        plan(sourceId, QUuid::createUuid());
        QList<std::pair<QUuid, Placement>> open{{sourceId, place}};
        while (!open.isEmpty()) {
            const auto [id, where] = open.takeFirst();
            const QUuid source = shown(id);
            const QList<QUuid> children = m_context.tree->children(source);
            add(source, where);
            for (qsizetype i = 0; i < children.size(); ++i)
                open.append({children.at(i), {m_copies.value(source), i}});
        }
        return m_copies.value(sourceId);
    }

private:
    void plan(const QUuid &top, const QUuid &copy)
    {
        const QList<QUuid> branch = m_context.tree->subtree(top);
        for (const QUuid &id : branch)
            m_copies.insert(id, QUuid::createUuid());
        m_copies.insert(top, copy);
    }

    /// The node that is copied in the place of this one.
    QUuid shown(const QUuid &id)
    {
        const QUuid original = m_context.tree->references().value(id);
        if (m_copies.contains(original) || !m_context.node(original))
            return id;
        plan(original, m_copies.value(id));
        return original;
    }

    void add(const QUuid &source, const Placement &where)
    {
        model::LogicalInstance node = *std::as_const(*m_context.tree).instance(source);
        node.id = m_copies.value(source);
        const QString base = node.name.isEmpty() ? node.definitionId : node.name;
        if (node.isReference())
            node.original = m_copies.value(node.original, node.original);
        else
            node.name = m_context.uniqueName(nameOfCopy(source, node, base));
        node.children.clear();
        node.tags -= {model::ItemTags::Selected, model::ItemTags::Hovered};
        for (const auto key : {"name"_L1, "tags"_L1, "__provenance"_L1}) // of an earlier compile
            node.ownItem.remove(key);
        restoreNode(*m_context.tree, nodeSnapshot(node, where));
    }

    /// A copy of what somebody wrote as an item by hand is named as the copy of an item is.
    QString nameOfCopy(const QUuid &source, const model::LogicalInstance &node,
                       const QString &base) const
    {
        if (source == m_top && !node.ownItem.isEmpty())
            return base + u" Copy"_s;
        return m_context.tree->generateUniqueName(model::duplicateBaseName(base));
    }

    OpContext &m_context;
    QUuid m_top;
    QHash<QUuid, QUuid> m_copies; ///< made, or to be made
};

/// Behind its siblings; detached as the source is.
QUuid copyNodes(OpContext &context, const QUuid &sourceId, const QUuid &parentId)
{
    const bool isDetached = parentId.isNull() && context.tree->parentOf(sourceId).isNull() &&
                            context.tree->indexOf(sourceId) < 0;
    const qsizetype end =
        parentId.isNull() ? context.tree->roots().size() : context.tree->children(parentId).size();
    return BranchCopy(context).make(sourceId, {parentId, isDetached ? -1 : end});
}

QUuid copyItem(OpContext &context, model::SceneItem item, const QUuid &parentId)
{
    item.id = QUuid::createUuid();
    item.name = context.uniqueName(item.name + u" Copy"_s);
    item.parentId = parentId;
    item.tags -= {model::ItemTags::Selected, model::ItemTags::Hovered};
    return context.document.addItem(item);
}

/// What stands below an item in the display tree.
QList<QUuid> itemsToCopy(const OpContext &context, const QUuid &sourceId)
{
    QList<QUuid> ids{sourceId};
    QSet<QUuid> seen{sourceId};
    for (qsizetype i = 0; i < ids.size(); ++i) {
        const QList<QUuid> below = context.document.hierarchyChildIds(ids.at(i));
        for (const QUuid &id : below) {
            if (seen.contains(id) || context.node(id))
                continue;
            seen.insert(id);
            ids.append(id);
        }
    }
    return ids;
}

/// The copies of nodes that stand in groups stand in the copies of these.
void copyNodesInGroups(OpContext &context, const QHash<QUuid, QUuid> &groups)
{
    const QList<QUuid> nodes = nodesInGroups(context, groups.keys());
    for (const QUuid &id : nodes) {
        const QUuid top = copyNodes(context, id, context.tree->parentOf(id));
        const QList<QUuid> branch = context.tree->subtree(top);
        for (const QUuid &copy : branch) {
            model::LogicalInstance node = *std::as_const(*context.tree).instance(copy);
            const QUuid group = groups.value(node.displayParent());
            if (group.isNull())
                continue;
            node.ownItem.insert(u"parentId"_s, idText(group));
            context.tree->replaceInstance(node);
        }
    }
}

/// The branches that go with a node or an item.
QList<QUuid> branchesWith(const OpContext &context, const QUuid &id)
{
    return context.node(id) ? QList<QUuid>{id} : nodesInGroups(context, itemsToCopy(context, id));
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
    if (context.tree)
        copyNodesInGroups(context, copies);
    const QUuid copy = copies.value(sourceId);
    return added(context, copy, context.nameOf(copy));
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
    OpChange change{
        .category = OpCategory::ItemRemoved, .itemId = id, .textArgs = {context.nameOf(id)}};
    if (!context.tree) {
        change.before = snapshotOf(context, id);
        removeSnapshot(context, change.before);
        return change;
    }
    const model::LogicalScene::Batch batch(*context.tree);
    const QVariantList exchanged = keepSharedParts(*context.tree, branchesWith(context, id));
    change.before = snapshotOf(context, id);
    exchangePlacesBack(*context.tree, exchanged);
    if (!exchanged.isEmpty())
        change.before.insert(StateKeys::exchanged, exchanged);
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
    if (isNode && !parentId.isNull() && !hasRoom(context, parentId))
        parentId = QUuid();
    if (isNode && context.tree->isComponentInstance(parentId))
        return call.refuse(u"cannot add into a component instance:"_s, parentId);
    if (!isNode)
        return copyItems(context, sourceId, parentId);
    const QUuid copy = copyNodes(context, sourceId, parentId);
    return added(context, copy, context.nameOf(copy));
}

} // namespace corvane::ops
