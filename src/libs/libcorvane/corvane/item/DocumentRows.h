#pragma once

#include <corvane/model/Corvane.h>

#include <QHash>
#include <QObject>
#include <QPointer>

namespace corvane::item {

/// The items of a document that trees show, and what changes about them.
///
/// Compiled items stand for nodes of the user's tree and are left out. A document tells much that
/// does not concern its display tree, and tells changes made in one go by sceneChanged() alone:
/// this finds out what it means.
class DocumentRows : public QObject
{
    Q_OBJECT

public:
    explicit DocumentRows(QObject *parent = nullptr);

    model::Corvane *scene() const { return m_scene; }
    /// Not owned. Without `withSdf` items of the field are left out, as a tree shows their nodes.
    void setScene(model::Corvane *scene, bool withSdf);

    bool contains(const QUuid &id) const { return m_places.contains(id); }
    qsizetype count() const { return m_places.size(); }
    /// By `sortOrder`, then by id: the items that stand under no other one.
    QList<QUuid> topIds() const;
    QList<QUuid> childIds(const QUuid &id) const;

signals:
    void itemAdded(const QUuid &id);
    void itemRemoved(const QUuid &id);
    void itemUpdated(const QUuid &id);
    void itemRenamed(const QUuid &id, const QString &name);
    /// Items came, went or moved. Follows itemAdded() and itemRemoved() at once.
    void structureChanged();

private:
    struct Place
    {
        QUuid parentId{};
        qint32 sortOrder = 0;

        bool operator==(const Place &) const = default;
    };
    using Places = QHash<QUuid, Place>;

    bool isShown(const model::SceneItem &item) const;
    Places readPlaces() const;
    void onItemAdded(const QUuid &id);
    void onItemRemoved(const QUuid &id);
    void onItemUpdated(const QUuid &id);
    void onItemRenamed(const QUuid &id, const QString &oldName, const QString &newName);
    void onSceneChanged();

    QPointer<model::Corvane> m_scene;
    bool m_withSdf = true;
    Places m_places;
    quint64 m_seenRevision = 0; ///< of the document's items, all of whose changes are in m_places
};

} // namespace corvane::item
