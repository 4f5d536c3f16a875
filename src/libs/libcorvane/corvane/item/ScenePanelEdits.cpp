// The edits of the scene panel: each becomes ops, and one undo step.
#include <corvane/item/ScenePanelModelAdapter.h>

#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/item/Logging.h>
#include <corvane/ops/CorvaneOpExecutor.h>

using namespace Qt::StringLiterals;

namespace corvane::item {

namespace {

const QString itemIdKey = QStringLiteral("itemId");

} // namespace

bool ScenePanelModelAdapter::apply(QLatin1StringView kind, const QVariantMap &args)
{
    return m_executor && m_executor->apply({kind, args});
}

bool ScenePanelModelAdapter::isEditable(const QUuid &id) const
{
    if (!isReadOnly(id))
        return true;
    qCWarning(lcItem).noquote()
        << "ScenePanelModelAdapter: a part of a component can't be edited where it is placed";
    return false;
}

bool ScenePanelModelAdapter::renameItem(const QUuid &id, const QString &name)
{
    const QString wanted = name.trimmed();
    return !wanted.isEmpty() && isEditable(id) &&
           apply(ops::OpKind::ItemRename, {{itemIdKey, id}, {u"newName"_s, wanted}});
}

bool ScenePanelModelAdapter::deleteItem(const QUuid &id)
{
    return isEditable(id) && apply(ops::OpKind::ItemRemove, {{itemIdKey, id}});
}

bool ScenePanelModelAdapter::moveItem(const QUuid &id, const QUuid &parentId, int index)
{
    return isEditable(id) && isEditable(parentId) &&
           apply(ops::OpKind::ItemSetParent, {{itemIdKey, id},
                                              {u"newParentId"_s, parentId},
                                              {u"insertIndex"_s, opIndex(id, parentId, index)}});
}

/// The place for the op. The nodes of a tree stand in front of the items of the document, and the
/// op counts the siblings of an item without the item and without those that stand for nodes.
int ScenePanelModelAdapter::opIndex(const QUuid &id, const QUuid &parentId, int index) const
{
    if (index < 0 || isNode(id) || !m_document)
        return index;
    const bool isTop = parentId.isNull();
    const qsizetype nodes = isTop && m_tree ? m_tree->roots().size() : 0;
    const QList<QUuid> shown = isTop ? m_rows.topIds() : m_rows.childIds(parentId);
    qsizetype next = std::max<qsizetype>(index - nodes, 0);
    while (next < shown.size() && shown.at(next) == id)
        ++next;
    if (next >= shown.size())
        return -1;
    QList<QUuid> siblings = m_document->hierarchyChildIds(parentId);
    siblings.removeIf([this, &id](const QUuid &sibling) {
        return sibling == id || m_document->item(sibling).hasTag(model::ItemTags::Compiled);
    });
    return int(siblings.indexOf(shown.at(next)));
}

bool ScenePanelModelAdapter::isWithin(const QUuid &id, const QSet<QUuid> &ancestors) const
{
    QSet<QUuid> seen;
    for (QUuid at = parentOf(id); !at.isNull() && !seen.contains(at); at = parentOf(at)) {
        if (ancestors.contains(at))
            return true;
        seen.insert(at);
    }
    return false;
}

QList<QUuid> ScenePanelModelAdapter::withoutDescendants(const QList<QUuid> &ids) const
{
    const QSet<QUuid> all(ids.cbegin(), ids.cend());
    QSet<QUuid> taken;
    QList<QUuid> tops;
    for (const QUuid &id : ids) {
        if (taken.contains(id) || isWithin(id, all))
            continue;
        taken.insert(id);
        tops.append(id);
    }
    return tops;
}

bool ScenePanelModelAdapter::canMove(const QUuid &id, const QUuid &parentId) const
{
    if (!isEditable(id) || !isEditable(parentId))
        return false;
    QString reason = u"they are of two kinds"_s;
    bool can = false;
    if (isNode(id)) {
        can = m_tree->canMove(id, parentId, &reason);
    } else if (m_rows.contains(id)) {
        const bool isCycle = parentId == id || isWithin(parentId, {id});
        can = !isCycle && (parentId.isNull() || m_rows.contains(parentId));
        if (isCycle)
            reason = u"would create a cycle"_s;
    }
    if (!can)
        qCWarning(lcItem).noquote() << "ScenePanelModelAdapter: move refused:" << reason;
    return can;
}

bool ScenePanelModelAdapter::moveItems(const QList<QUuid> &ids, const QUuid &parentId, int index)
{
    const QList<QUuid> moved = withoutDescendants(ids);
    const bool canAll = std::all_of(moved.cbegin(), moved.cend(),
                                    [&](const QUuid &id) { return canMove(id, parentId); });
    if (moved.isEmpty() || !canAll || !m_executor)
        return false;
    if (moved.size() == 1)
        return moveItem(moved.first(), parentId, index);
    const QList<QUuid> before = parentId.isNull() ? topIds() : childIdsOf(parentId);
    // What the first one that stays behind the place is, all of them come in front of.
    const QSet<QUuid> all(moved.cbegin(), moved.cend());
    qsizetype next = index < 0 ? before.size() : index;
    while (next < before.size() && all.contains(before.at(next)))
        ++next;
    const QUuid behind = before.value(next);
    const QString batch = m_executor->beginBatch(tr("Move %n Items", nullptr, int(moved.size())));
    bool isDone = true;
    for (const QUuid &id : moved) {
        const QList<QUuid> now = parentId.isNull() ? topIds() : childIdsOf(parentId);
        const int place = behind.isNull() ? -1 : int(now.indexOf(behind));
        isDone = isDone && moveItem(id, parentId, place);
    }
    m_executor->endBatch();
    if (!isDone)
        m_executor->undoBatch(batch);
    return isDone;
}

QUuid ScenePanelModelAdapter::duplicateItem(const QUuid &id)
{
    if (!m_executor || !isEditable(id))
        return {};
    const auto source = itemFor(id);
    m_executor->beginBatch(tr("Duplicate"));
    QUuid copy;
    if (apply(ops::OpKind::ItemDuplicate, {{u"sourceId"_s, id}}))
        copy = m_executor->lastCreatedId();
    if (!copy.isNull() && source && !isNode(copy)) {
        const QString base = model::duplicateBaseName(source->name());
        apply(ops::OpKind::ItemRename,
              {{itemIdKey, copy}, {u"newName"_s, u"%1 %2"_s.arg(base, u"1"_s)}});
    }
    m_executor->endBatch();
    return copy;
}

QUuid ScenePanelModelAdapter::createGroupItem(const QString &name, const QUuid &parentId)
{
    if (!isEditable(parentId))
        return {};
    const bool isOfTree = m_tree && (parentId.isNull() || isNode(parentId));
    QVariantMap args{{u"itemType"_s, isOfTree ? model::ItemTypes::Sdf : model::ItemTypes::Group},
                     {u"container"_s, isOfTree},
                     {u"parentId"_s, parentId}};
    if (!name.trimmed().isEmpty())
        args.insert(u"name"_s, name.trimmed());
    return apply(ops::OpKind::ItemAdd, args) ? m_executor->lastCreatedId() : QUuid();
}

QUuid ScenePanelModelAdapter::createSdfInstance(const QString &definitionId, const QUuid &parentId)
{
    const QVariantMap args{{u"itemType"_s, model::ItemTypes::Sdf},
                           {u"definitionId"_s, definitionId},
                           {u"parentId"_s, parentId}};
    const bool isAdded = isEditable(parentId) && apply(ops::OpKind::ItemAdd, args);
    return isAdded ? m_executor->lastCreatedId() : QUuid();
}

bool ScenePanelModelAdapter::setTag(const QUuid &id, const QString &tag, bool on)
{
    const QString list = on ? u"add"_s : u"remove"_s;
    return isEditable(id) &&
           apply(ops::OpKind::ItemSetTags, {{itemIdKey, id}, {list, QStringList{tag}}});
}

bool ScenePanelModelAdapter::setItemHidden(const QUuid &id, bool on)
{
    return setTag(id, model::ItemTags::Hidden, on);
}

bool ScenePanelModelAdapter::setItemIsolated(const QUuid &id, bool on)
{
    return setTag(id, model::ItemTags::Isolated, on);
}

} // namespace corvane::item
