// The items of a document, and its roots.
#include <corvane/model/Corvane.h>

#include <corvane/model/Logging.h>

namespace corvane::model {

namespace {

/// Whether the compiled field may differ between two states of an item. A mere change of parameters
/// keeps off this road: it is answered without a rebuild.
bool changesStructure(const SceneItem &before, const SceneItem &after)
{
    return before.name != after.name || before.itemType != after.itemType ||
           before.parentId != after.parentId || before.sortOrder != after.sortOrder ||
           Instance(before).childReferences() != Instance(after).childReferences();
}

} // namespace

SceneItem Corvane::item(const QUuid &id) const
{
    const SceneItem *found = m_items.find(id);
    return found ? *found : SceneItem(QUuid());
}

Instance Corvane::instance(const QUuid &id) const
{
    return Instance(item(id));
}

QList<SceneItem> Corvane::itemsOfType(const QString &itemType) const
{
    QList<SceneItem> found;
    for (const SceneItem &item : m_items.items()) {
        if (item.itemType == itemType)
            found.append(item);
    }
    return found;
}

bool Corvane::hasItemsOfType(const QString &itemType) const
{
    const auto &all = m_items.items();
    return std::any_of(all.cbegin(), all.cend(),
                       [&itemType](const SceneItem &item) { return item.itemType == itemType; });
}

QUuid Corvane::addItem(const SceneItem &item)
{
    if (m_items.contains(item.id)) {
        updateItem(item);
        return item.id;
    }
    SceneItem added = item;
    if (added.id.isNull())
        added.id = QUuid::createUuid();
    m_items.put(added);
    emit itemAdded(added.id, added.itemType);
    emit instanceAdded(added.id);
    structureTouched();
    return added.id;
}

QUuid Corvane::addSdfItem(const QUuid &id, const QString &name)
{
    if (m_items.contains(id))
        return id;
    SceneItem item(id);
    item.name = name;
    item.capabilities = ItemCapabilities::sdfItem;
    return addItem(item);
}

QUuid Corvane::addGroupItem(const QUuid &id, const QString &name)
{
    if (m_items.contains(id))
        return id;
    SceneItem item(id);
    item.itemType = ItemTypes::Group;
    item.name = name;
    item.capabilities = ItemCapabilities::groupItem;
    return addItem(item);
}

void Corvane::updateItem(const SceneItem &item)
{
    const SceneItem *existing = m_items.find(item.id);
    if (!existing) {
        qCWarning(lcModel) << "Corvane::updateItem: Item not found:" << item.id;
        return;
    }
    const SceneItem before = *existing;
    m_items.put(item);
    emit itemUpdated(item.id, item.itemType);
    emit instanceUpdated(item.id);
    if (before.name != item.name && !before.name.isEmpty())
        emit instanceRenamed(item.id, before.name, item.name);
    if (changesStructure(before, item))
        structureTouched();
}

void Corvane::removeItem(const QUuid &id)
{
    const SceneItem *existing = m_items.find(id);
    if (!existing)
        return;
    const QString itemType = existing->itemType;
    const bool wasSelected = existing->hasTag(ItemTags::Selected);
    m_items.remove(id);
    const bool wasRoot = m_roots.removeAll(id) > 0;
    if (wasSelected)
        emit selectionChanged();
    emit itemRemoved(id, itemType);
    emit instanceRemoved(id);
    if (wasRoot)
        emit rootsChanged();
    structureTouched();
}

void Corvane::exchangeItems(const QSet<QUuid> &removed, const QList<SceneItem> &added)
{
    m_items.removeAll(removed);
    m_items.putAll(added);
    m_roots.clear();
    structureTouched();
}

void Corvane::setRoots(const QList<QUuid> &roots)
{
    // Each once: a root that is listed again adds nothing to a union.
    QSet<QUuid> known;
    m_roots.clear();
    for (const QUuid &id : roots) {
        if (!known.contains(id))
            m_roots.append(id);
        known.insert(id);
    }
    rootsTouched();
}

void Corvane::addRoot(const QUuid &id)
{
    if (m_roots.contains(id))
        return;
    m_roots.append(id);
    rootsTouched();
}

void Corvane::removeRoot(const QUuid &id)
{
    if (m_roots.removeAll(id) > 0)
        rootsTouched();
}

void Corvane::drawAllItems()
{
    if (drawsAllItems())
        return;
    m_roots.clear();
    m_hasRoots = false;
    emit rootsChanged();
    structureTouched();
}

void Corvane::structureTouched()
{
    ++m_structureRevision;
    emit sceneChanged();
}

void Corvane::rootsTouched()
{
    m_hasRoots = true;
    emit rootsChanged();
    structureTouched();
}

QList<QUuid> Corvane::childInstanceIds(const QUuid &id) const
{
    QList<QUuid> children;
    const SceneItem *parent = m_items.find(id);
    if (!parent)
        return children;
    const QStringList references = Instance(*parent).childReferences();
    for (const QString &reference : references) {
        const QUuid child = m_items.resolve(reference);
        if (!child.isNull())
            children.append(child);
    }
    return children;
}

} // namespace corvane::model
