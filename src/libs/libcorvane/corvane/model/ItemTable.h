#pragma once

#include <corvane/model/SceneItem.h>

#include <QHash>
#include <QList>
#include <QMap>
#include <QMultiHash>
#include <QSet>

namespace corvane::model {

/// The items of a scene with the two indices over them: names, and children in the display
/// hierarchy.
///
/// Where several items have one name, the index keeps the first that took it, and another takes its
/// place when that one goes.
class ItemTable
{
public:
    const QMap<QUuid, SceneItem> &items() const { return m_items; }
    bool contains(const QUuid &id) const { return m_items.contains(id); }
    /// None for an unknown id. Valid until the table changes.
    const SceneItem *find(const QUuid &id) const;
    /// Null for an unknown name.
    QUuid idByName(const QString &name) const { return m_nameIndex.value(name); }
    const QMap<QString, QUuid> &nameIndex() const { return m_nameIndex; }

    /// Grows with every change of any item.
    quint64 revision() const { return m_revision; }

    /// Adds the item or replaces the one of its id.
    void put(const SceneItem &item);
    /// The same for many at once: one walk over the table.
    void putAll(const QList<SceneItem> &items);
    void remove(const QUuid &id);
    /// Of unknown ids nothing is removed.
    void removeAll(const QSet<QUuid> &ids);
    void clear();

    /// Items with that `parentId`, by `sortOrder`, then by id. A null parent gives the items with
    /// none.
    QList<QUuid> childIds(const QUuid &parentId) const;
    /// Items with no parent or one that does not exist, in the same order.
    QList<QUuid> hierarchyRootIds() const;

    /// What a reference of the field's expression names: "@" and a name, or an id with or without
    /// "@". Null when it names no item of the table.
    QUuid resolve(const QString &reference) const;

private:
    void replace(SceneItem &existing, const SceneItem &item);
    void indexName(const SceneItem &item);
    void unindexName(const SceneItem &item);
    void indexParent(const SceneItem &item);
    void unindexParent(const SceneItem &item);
    QList<QUuid> sorted(QList<QUuid> ids) const;

    quint64 m_revision = 0;
    QMap<QUuid, SceneItem> m_items;
    QMap<QString, QUuid> m_nameIndex;
    QMultiHash<QString, QUuid> m_namesakes; ///< further holders of a name that is in the index
    QHash<QUuid, QSet<QUuid>> m_childIndex; ///< under the null id: items with no parent
};

} // namespace corvane::model
