// The display hierarchy of a document, and what is told along it: domains and proxies.
#include <corvane/model/Corvane.h>

#include <corvane/model/Logging.h>

namespace corvane::model {

namespace {

/// Every walk towards the top ends here, so that a cycle cannot hold it.
constexpr int maxAncestors = 100;

} // namespace

QUuid Corvane::parentInstanceId(const QUuid &id) const
{
    const SceneItem *found = m_items.find(id);
    return found ? found->parentId : QUuid();
}

int Corvane::depth(const QUuid &id) const
{
    int depth = 0;
    for (QUuid at = parentInstanceId(id); m_items.contains(at) && depth < maxAncestors;
         at = parentInstanceId(at))
        ++depth;
    return depth;
}

bool Corvane::setParent(const QUuid &child, const QUuid &parent)
{
    const SceneItem *existing = m_items.find(child);
    if (!existing || (!parent.isNull() && !m_items.contains(parent)))
        return false;
    int steps = 0;
    for (QUuid at = parent; !at.isNull(); at = parentInstanceId(at)) {
        // Past the limit the child may still be above: what cannot be ruled out is refused.
        if (at == child || ++steps > maxAncestors) {
            qCWarning(lcModel) << "Corvane::setParent: refused, the item would stand under itself:"
                               << child;
            return false;
        }
    }
    SceneItem moved = *existing;
    moved.parentId = parent;
    updateItem(moved);
    return true;
}

bool Corvane::moveHierarchyItem(const QUuid &id, const QUuid &newParent, int index)
{
    if (!m_items.contains(id))
        return false;
    if (parentInstanceId(id) != newParent && !setParent(id, newParent))
        return false;
    QList<QUuid> siblings = m_items.childIds(newParent);
    // Compiled items stand for nodes of a tree, and have no place among those that are shown.
    const bool isShown = !m_items.find(id)->hasTag(ItemTags::Compiled);
    siblings.removeIf([&](const QUuid &sibling) {
        return sibling == id || (isShown && m_items.find(sibling)->hasTag(ItemTags::Compiled));
    });
    const bool outside = index < 0 || index > siblings.size();
    siblings.insert(outside ? siblings.size() : qsizetype(index), id);
    for (qsizetype i = 0; i < siblings.size(); ++i) {
        SceneItem sibling = item(siblings.at(i));
        if (sibling.sortOrder == qint32(i))
            continue;
        sibling.sortOrder = qint32(i);
        updateItem(sibling);
    }
    return true;
}

QUuid Corvane::domainForItem(const QUuid &id) const
{
    QUuid at = parentInstanceId(id);
    for (int steps = 0; steps < maxAncestors; ++steps) {
        const SceneItem *ancestor = m_items.find(at);
        if (!ancestor)
            return {};
        if (ancestor->itemType == ItemTypes::SdfDomain)
            return at;
        at = ancestor->parentId;
    }
    return {};
}

QList<QUuid> Corvane::sdfItemsInDomain(const QUuid &domainId) const
{
    QList<QUuid> found;
    const auto &all = m_items.items();
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        if (it->itemType == ItemTypes::Sdf && domainForItem(it.key()) == domainId)
            found.append(it.key());
    }
    return found;
}

bool Corvane::isProxyRoot(const QUuid &id) const
{
    const SceneItem *found = m_items.find(id);
    return found && found->hasTag(ItemTags::Proxied);
}

bool Corvane::isProxied(const QUuid &id) const
{
    QUuid at = id;
    for (int steps = 0; steps <= maxAncestors; ++steps) {
        const SceneItem *found = m_items.find(at);
        if (!found)
            return false;
        if (found->hasTag(ItemTags::Proxied))
            return true;
        at = found->parentId;
    }
    return false;
}

void Corvane::setProxied(const QUuid &id, bool on)
{
    if (!setTag(id, ItemTags::Proxied, on))
        return;
    if (on) {
        QSet<QUuid> seen{id};
        QList<QUuid> work = m_items.childIds(id);
        while (!work.isEmpty()) {
            const QUuid descendant = work.takeLast();
            if (seen.contains(descendant))
                continue;
            seen.insert(descendant);
            if (setTag(descendant, ItemTags::Proxied, false))
                emit proxyStateChanged(descendant, false);
            work += m_items.childIds(descendant);
        }
    }
    emit proxyStateChanged(id, on);
    emit itemUpdated(id, item(id).itemType);
    structureTouched();
}

bool Corvane::setTag(const QUuid &id, const QString &tag, bool on)
{
    const SceneItem *existing = m_items.find(id);
    if (!existing || existing->hasTag(tag) == on)
        return false;
    SceneItem changed = *existing;
    if (on)
        changed.tags.insert(tag);
    else
        changed.tags.remove(tag);
    m_items.put(changed);
    return true;
}

} // namespace corvane::model
