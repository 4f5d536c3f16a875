#include <corvane/item/DocumentRows.h>

#include <algorithm>

namespace corvane::item {

using model::Corvane;
using model::SceneItem;

DocumentRows::DocumentRows(QObject *parent)
    : QObject(parent)
{}

void DocumentRows::setScene(Corvane *scene, bool withSdf)
{
    if (m_scene)
        disconnect(m_scene, nullptr, this, nullptr);
    m_scene = scene;
    m_withSdf = withSdf;
    m_places = readPlaces();
    m_seenRevision = scene ? scene->itemsRevision() : 0;
    emit structureChanged();
    if (!scene)
        return;
    connect(scene, &Corvane::itemAdded, this, &DocumentRows::onItemAdded);
    connect(scene, &Corvane::itemRemoved, this, &DocumentRows::onItemRemoved);
    connect(scene, &Corvane::itemUpdated, this, &DocumentRows::onItemUpdated);
    connect(scene, &Corvane::instanceRenamed, this, &DocumentRows::onItemRenamed);
    connect(scene, &Corvane::sceneChanged, this, &DocumentRows::onSceneChanged);
    connect(scene, &QObject::destroyed, this, [this] { setScene(nullptr, m_withSdf); });
}

bool DocumentRows::isShown(const SceneItem &item) const
{
    const bool isSdf = item.itemType == model::ItemTypes::Sdf;
    return !item.id.isNull() && (m_withSdf || !isSdf) && !item.hasTag(model::ItemTags::Compiled);
}

DocumentRows::Places DocumentRows::readPlaces() const
{
    Places places;
    if (!m_scene)
        return places;
    const QMap<QUuid, SceneItem> items = m_scene->items();
    for (const SceneItem &item : items) {
        if (isShown(item))
            places.insert(item.id, {item.parentId, item.sortOrder});
    }
    return places;
}

QList<QUuid> DocumentRows::topIds() const
{
    QList<QUuid> tops;
    for (auto it = m_places.cbegin(); it != m_places.cend(); ++it) {
        if (!m_places.contains(it->parentId))
            tops.append(it.key());
    }
    std::sort(tops.begin(), tops.end(), [this](const QUuid &a, const QUuid &b) {
        const qint32 orderOfA = m_places.value(a).sortOrder;
        const qint32 orderOfB = m_places.value(b).sortOrder;
        return orderOfA != orderOfB ? orderOfA < orderOfB : a < b;
    });
    return tops;
}

QList<QUuid> DocumentRows::childIds(const QUuid &id) const
{
    QList<QUuid> children = m_scene ? m_scene->hierarchyChildIds(id) : QList<QUuid>();
    children.removeIf([this](const QUuid &child) { return !m_places.contains(child); });
    return children;
}

void DocumentRows::onItemAdded(const QUuid &id)
{
    const SceneItem item = m_scene->item(id);
    ++m_seenRevision;
    if (!isShown(item))
        return;
    m_places.insert(id, {item.parentId, item.sortOrder});
    emit itemAdded(id);
    emit structureChanged();
}

void DocumentRows::onItemRemoved(const QUuid &id)
{
    ++m_seenRevision;
    if (!m_places.remove(id))
        return;
    emit itemRemoved(id);
    emit structureChanged();
}

void DocumentRows::onItemUpdated(const QUuid &id)
{
    const SceneItem item = m_scene->item(id);
    ++m_seenRevision;
    if (isShown(item) != m_places.contains(id)) {
        --m_seenRevision; // left to onSceneChanged(), which always follows where a type changed
        return;
    }
    const auto place = m_places.find(id);
    if (place == m_places.end())
        return;
    const Place now{item.parentId, item.sortOrder};
    const bool hasMoved = *place != now;
    *place = now;
    emit itemUpdated(id);
    if (hasMoved)
        emit structureChanged();
}

void DocumentRows::onItemRenamed(const QUuid &id, const QString &oldName, const QString &newName)
{
    Q_UNUSED(oldName)
    if (m_places.contains(id))
        emit itemRenamed(id, newName);
}

/// Reads all only where something happened that no other signal told.
void DocumentRows::onSceneChanged()
{
    if (m_seenRevision == m_scene->itemsRevision())
        return;
    m_seenRevision = m_scene->itemsRevision();
    Places places = readPlaces();
    if (places == m_places)
        return;
    m_places.swap(places);
    emit structureChanged();
}

} // namespace corvane::item
