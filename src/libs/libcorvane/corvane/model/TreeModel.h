#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/model/RowModel.h>
#include <corvane/model/SlotMoves.h>
#include <corvane/model/TreeNode.h>

#include <QHash>
#include <QPointer>

#include <deque>

class QUndoStack;

namespace corvane::model {

/// The expression of a document's field as a tree, with the slots of operators as rows.
///
/// A row is an instance: at the top a root, below it what stands in a slot of the instance above.
/// An empty slot has a row to drop on. Instances that no root leads to stand under a last row
/// "Orphans".
///
/// The model follows the document. After a change of the structure all rows are made anew and
/// compared, and what differs is inserted, moved and removed; see RowModel for bursts of changes.
/// An instance that has one row takes it along wherever it goes. Renaming and drag and drop edit
/// the document; instances that are compiled from a user's tree can't be edited here, since
/// the next compile would undo it. Main thread.
class TreeModel : public RowModel
{
    Q_OBJECT

public:
    enum Role {
        UuidRole = Qt::UserRole + 1, ///< "uuid": as text; empty for an empty slot
        DefinitionIdRole,            ///< "definitionId"
        InstanceNameRole,            ///< "instanceName"; also Qt::EditRole
        IsRootRole,                  ///< "isRoot": one of the document's roots, at the top
        IsOrphanRole,                ///< "isOrphan": no root leads here
        HasChildrenRole,             ///< "hasChildren"
        DepthRole,                   ///< "depth": 0 at the top
        IsSlotRole,                  ///< "isSlot"
        SlotNameRole,                ///< "slotName"
        IsEmptySlotRole,             ///< "isEmptySlot"
        SlotChildIdRole,             ///< "slotChildId": what stands in the slot
        ParentDefinitionRole,        ///< "parentDefinition": of the instance above
        ParentInstanceIdRole,        ///< "parentInstanceId"
        TagsRole,                    ///< "tags": sorted
    };

    /// The format of dragged rows: a line each, the instance's id, its owner's, its slot.
    static constexpr QLatin1StringView mimeType{"application/x-corvane-instances"};

    explicit TreeModel(QObject *parent = nullptr);
    ~TreeModel() override;

    Corvane *scene() const { return m_scene; }
    /// Not owned; null for none.
    void setScene(Corvane *scene);
    /// Where edits can be undone; without one they can't. Not owned.
    void setUndoStack(QUndoStack *undoStack);
    /// Makes all rows anew at once.
    void rebuildTree();

    /// Null for an invalid index, an empty slot and the row of the orphans.
    QUuid instanceIdAt(const QModelIndex &index) const;
    /// The first row of the instance; invalid when it has none.
    QModelIndex indexForInstance(const QUuid &id) const;
    /// The root above all rows for an invalid index.
    const TreeNode *nodeFromIndex(const QModelIndex &index) const;
    QModelIndex indexFromNode(const TreeNode *node) const;
    /// The first row of each instance that is selected in the document.
    QModelIndexList selectedRows() const;

    /// Moves what stands at `from` to the slot `to`, or into the instance `to`. False, and logged,
    /// when it can't stand there.
    bool moveInstanceToSlot(const QModelIndex &from, const QModelIndex &to);

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// The edit role renames: false for an empty name and one that another item has.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QHash<int, QByteArray> roleNames() const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    /// On a slot that is empty: into it. On an operator: behind its children, or between them with
    /// a `row`. On any other instance: in front of it. On no row: among the roots. On "Orphans":
    /// out of the picture. All that is dragged, or, logged, nothing.
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }

public slots:
    void onSceneInstanceUpdated(const QUuid &id);
    void onSceneSelectionChanged();

signals:
    void selectionChanged();
    /// A drop was refused, for the user to read.
    void moveRefused(const QString &reason);

protected:
    void updateRows() override;

private:
    // For RowUpdate
    friend class RowUpdate<TreeModel>;
    using Row = TreeNode;
    using RowKey = std::pair<QUuid, int>;
    struct Wanted;
    bool isRead(const TreeNode &node) const;
    QList<RowKey> wantedBelow(const TreeNode &node) const;
    RowKey keyOf(const TreeNode &node) const;
    TreeNode *rowElsewhere(const RowKey &key) const;
    TreeNode *makeRow(const TreeNode &parent, qsizetype index);
    void dropRow(TreeNode *node);
    void match(TreeNode &parent, const QList<TreeNode *> &placed);
    QModelIndex indexOfRow(const TreeNode *node) const { return indexFromNode(node); }

    void ensureBuilt() const;
    void build(std::deque<TreeNode> &nodes) const;
    void findPlaces() const;
    void forgetRows();
    void tellUpdated(const QUuid &id);
    void onSceneChanged();
    SlotPlace placeOf(const TreeNode &node) const;
    SlotPlace dropPlace(const TreeNode &target, int row) const;
    bool refuse(const QString &reason);
    const TreeNode *ownerOf(const TreeNode &node) const;
    QVariant roleValue(const TreeNode &node, int role) const;
    QString displayText(const TreeNode &node) const;
    QString toolTip(const TreeNode &node) const;
    QString slotToolTip(const TreeNode &node) const;

    QPointer<Corvane> m_scene;
    QPointer<QUndoStack> m_undoStack;
    mutable std::deque<TreeNode> m_nodes; ///< the root first
    QList<TreeNode *> m_spare;            ///< of these, rows that are gone
    QSet<QUuid> m_updated;                ///< instances to tell of when the rows are up to date
    Wanted *m_wanted = nullptr;           ///< while rows are updated
    mutable QHash<QUuid, QList<TreeNode *>> m_places;
    mutable bool m_isBuilt = false;
    mutable quint64 m_builtRevision = 0;
    mutable QList<QUuid> m_builtRoots;
};

} // namespace corvane::model
