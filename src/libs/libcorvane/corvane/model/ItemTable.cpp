#include <corvane/model/ItemTable.h>

#include <algorithm>
#include <vector>

namespace corvane::model {

const SceneItem *ItemTable::find(const QUuid &id) const
{
    const auto it = m_items.constFind(id);
    return it == m_items.cend() ? nullptr : &*it;
}

void ItemTable::put(const SceneItem &item)
{
    ++m_revision;
    const auto existing = m_items.find(item.id);
    if (existing == m_items.end()) {
        m_items.insert(item.id, item);
        indexName(item);
        indexParent(item);
        return;
    }
    replace(*existing, item);
}

void ItemTable::putAll(const QList<SceneItem> &items)
{
    ++m_revision;
    std::vector<const SceneItem *> sorted;
    sorted.reserve(std::size_t(items.size()));
    for (const SceneItem &item : items)
        sorted.push_back(&item);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const SceneItem *a, const SceneItem *b) { return a->id < b->id; });
    auto at = m_items.begin();
    for (const SceneItem *item : sorted) {
        while (at != m_items.end() && at.key() < item->id)
            ++at;
        if (at != m_items.end() && at.key() == item->id) {
            replace(*at, *item);
            continue;
        }
        at = m_items.insert(at, item->id, *item);
        indexName(*item);
        indexParent(*item);
    }
}

void ItemTable::replace(SceneItem &existing, const SceneItem &item)
{
    const bool renamed = existing.name != item.name;
    const bool moved = existing.parentId != item.parentId;
    if (renamed)
        unindexName(existing);
    if (moved)
        unindexParent(existing);
    existing = item;
    if (renamed)
        indexName(item);
    if (moved)
        indexParent(item);
}

void ItemTable::remove(const QUuid &id)
{
    const auto existing = m_items.find(id);
    if (existing == m_items.end())
        return;
    ++m_revision;
    unindexName(*existing);
    unindexParent(*existing);
    m_items.erase(existing);
}

void ItemTable::removeAll(const QSet<QUuid> &ids)
{
    const auto isRemoved = [&ids](const SceneItem &item) { return ids.contains(item.id); };
    if (m_items.size() <= ids.size() && std::all_of(m_items.cbegin(), m_items.cend(), isRemoved)) {
        clear();
        return;
    }
    for (const QUuid &id : ids)
        remove(id);
}

void ItemTable::clear()
{
    const quint64 revision = m_revision;
    *this = {};
    m_revision = revision + 1;
}

QList<QUuid> ItemTable::childIds(const QUuid &parentId) const
{
    return sorted(m_childIndex.value(parentId).values());
}

QList<QUuid> ItemTable::hierarchyRootIds() const
{
    QList<QUuid> ids;
    for (auto it = m_items.cbegin(); it != m_items.cend(); ++it) {
        if (it->parentId.isNull() || !m_items.contains(it->parentId))
            ids.append(it.key());
    }
    return sorted(ids);
}

QUuid ItemTable::resolve(const QString &reference) const
{
    const bool marked = reference.startsWith(u'@');
    const QString text = marked ? reference.mid(1) : reference;
    if (marked) {
        const QUuid named = idByName(text);
        if (!named.isNull())
            return named;
    }
    const QUuid id = QUuid::fromString(text);
    return contains(id) ? id : QUuid();
}

void ItemTable::indexName(const SceneItem &item)
{
    if (item.name.isEmpty())
        return;
    if (m_nameIndex.contains(item.name))
        m_namesakes.insert(item.name, item.id);
    else
        m_nameIndex.insert(item.name, item.id);
}

void ItemTable::unindexName(const SceneItem &item)
{
    if (m_nameIndex.value(item.name) != item.id) {
        m_namesakes.remove(item.name, item.id);
        return;
    }
    m_nameIndex.remove(item.name);
    const QList<QUuid> heirs = m_namesakes.values(item.name);
    if (heirs.isEmpty())
        return;
    // The smallest id, so that the heir does not depend on the order of a hash.
    const QUuid heir = *std::min_element(heirs.cbegin(), heirs.cend());
    m_namesakes.remove(item.name, heir);
    m_nameIndex.insert(item.name, heir);
}

void ItemTable::indexParent(const SceneItem &item)
{
    m_childIndex[item.parentId].insert(item.id);
}

void ItemTable::unindexParent(const SceneItem &item)
{
    const auto siblings = m_childIndex.find(item.parentId);
    siblings->remove(item.id);
    if (siblings->isEmpty())
        m_childIndex.erase(siblings);
}

QList<QUuid> ItemTable::sorted(QList<QUuid> ids) const
{
    std::sort(ids.begin(), ids.end(), [this](const QUuid &a, const QUuid &b) {
        const qint32 orderOfA = m_items.constFind(a)->sortOrder;
        const qint32 orderOfB = m_items.constFind(b)->sortOrder;
        return orderOfA != orderOfB ? orderOfA < orderOfB : a < b;
    });
    return ids;
}

} // namespace corvane::model
