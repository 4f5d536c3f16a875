#pragma once

#include <corvane/model/SceneItemView.h>

#include <QList>
#include <QObject>
#include <QUuid>

#include <optional>

namespace corvane::item {

/// What the scene panel shows and does: all that the user placed, as one tree.
///
/// Every edit is one undo step. An edit that is refused logs why, changes nothing, and answers
/// false or a null id. Main thread.
class IScenePanelModel : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    virtual QList<model::SceneItemView> rootItems() const = 0;
    /// Empty for an unknown id.
    virtual QList<model::SceneItemView> childrenOf(const QUuid &id) const = 0;
    /// None for an unknown id.
    virtual std::optional<model::SceneItemView> itemFor(const QUuid &id) const = 0;
    /// A part of a component: it can't be edited where it is shown.
    virtual bool isReadOnly(const QUuid &id) const = 0;
    /// Whether others can be moved below it.
    virtual bool canHaveChildren(const QUuid &id) const = 0;

    /// The one of selectedIds() that was chosen last; where nobody chose it here, the first. Null
    /// for none.
    virtual QUuid selectedId() const = 0;
    virtual QList<QUuid> selectedIds() const = 0;
    /// Selects this alone; nothing for a null id. A part of a component stands for the component.
    virtual void selectItem(const QUuid &id) = 0;
    virtual void addToSelection(const QUuid &id) = 0;
    virtual void removeFromSelection(const QUuid &id) = 0;

    /// A name that is taken gets a number.
    virtual bool renameItem(const QUuid &id, const QString &name) = 0;
    /// With all below it.
    virtual bool deleteItem(const QUuid &id) = 0;
    /// To a place in the list as it is before the move; out of range is the end. A null parent is
    /// the top.
    virtual bool moveItem(const QUuid &id, const QUuid &parentId, int index) = 0;
    /// Several, one behind the other in the order given: all or none. What stands below another of
    /// them moves along with that.
    virtual bool moveItems(const QList<QUuid> &ids, const QUuid &parentId, int index) = 0;
    /// With all below it, behind its siblings. The id of the copy.
    virtual QUuid duplicateItem(const QUuid &id) = 0;
    /// An empty name is "Group" and a number.
    virtual QUuid createGroupItem(const QString &name, const QUuid &parentId) = 0;
    /// Of a definition or a component.
    virtual QUuid createSdfInstance(const QString &definitionId, const QUuid &parentId) = 0;
    virtual bool setItemHidden(const QUuid &id, bool on) = 0;
    virtual bool setItemIsolated(const QUuid &id, bool on) = 0;

    /// Where something new goes while `id` is selected: into it when it is a container, else beside
    /// it. Null is the top.
    virtual QUuid effectiveCreateParent(const QUuid &id) const = 0;

signals:
    void itemAdded(const QUuid &id);
    void itemRemoved(const QUuid &id);
    void itemUpdated(const QUuid &id);
    void itemRenamed(const QUuid &id, const QString &name);
    /// Rows came, went or moved.
    void structureChanged();
    void selectionChanged();
};

} // namespace corvane::item
