#pragma once

#include <corvane/item/DocumentRows.h>
#include <corvane/item/GenericTreeItem.h>

#include <QHash>
#include <QPointer>
#include <QSharedPointer>

namespace corvane::ops {
class CorvaneOpExecutor;
}

namespace corvane::item {

/// All objects of the viewport in one tree: first the entries that the program adds, such as layers
/// and post effects, then the items of the document in its display tree.
///
/// Items that are compiled from a user's tree are left out. The items' rows follow the document:
/// what is different after a change of its structure is inserted, moved and removed; see RowModel
/// for bursts of changes. Main thread.
class GenericTree : public model::RowModel
{
    Q_OBJECT

public:
    enum Role {
        UuidRole = Qt::UserRole + 1, ///< "uuid": as text
        NameRole,                    ///< "name"; also Qt::DisplayRole and Qt::EditRole
        TypeNameRole,                ///< "typeName"
        IsBuiltInRole,               ///< "isBuiltIn"
        CanHaveChildrenRole,         ///< "canHaveChildren"
        AcceptedChildTypesRole,      ///< "acceptedChildTypes"
        HasCustomIconRole,           ///< "hasCustomIcon"
        PreviewRole,                 ///< "preview": an image
    };

    explicit GenericTree(QObject *parent = nullptr);
    ~GenericTree() override;

    /// Not owned; null for none.
    void setScene(model::Corvane *scene);
    /// By which items are renamed; without it they can't be. Not owned.
    void setExecutor(ops::CorvaneOpExecutor *executor);

    // The entries of the program

    /// Behind the parent's other entries, or those at the top, with an index out of range. False
    /// for none, an id that has a row, and a parent that is no such entry or does not accept it.
    bool addEntry(const EntryPtr &entry, const QUuid &parentId = {}, qsizetype index = -1);
    /// With all below it. False when it is none of these.
    bool removeEntry(const QUuid &id);
    /// To a place in the list as it is before the move. False where addEntry() would be, and below
    /// itself.
    bool moveEntry(const QUuid &id, const QUuid &parentId, qsizetype index);
    /// Removes all of them.
    void clear();
    /// An object behind an entry is no longer what it was.
    void entryChanged(const QUuid &id);

    /// The entry of a row; none when there is no such row.
    EntryPtr entry(const QUuid &id) const;
    QModelIndex indexOf(const QUuid &id) const;
    const GenericTreeItem *itemAt(const QModelIndex &index) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// The edit role renames. False for an empty name.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QHash<int, QByteArray> roleNames() const override;

protected:
    void updateRows() override;

private:
    using ItemPtr = QSharedPointer<GenericTreeItem>;

    // For RowUpdate
    friend class model::RowUpdate<GenericTree>;
    using Row = GenericTreeItem;
    using RowKey = QUuid;
    bool isRead(const GenericTreeItem &row) const;
    QList<QUuid> wantedBelow(const GenericTreeItem &row);
    static QUuid keyOf(const GenericTreeItem &row) { return row.entry()->uuid(); }
    GenericTreeItem *rowElsewhere(const QUuid &id) const;
    GenericTreeItem *makeRow(const GenericTreeItem &parent, qsizetype index);
    void dropRow(GenericTreeItem *row);
    void match(GenericTreeItem &parent, const QList<GenericTreeItem *> &placed);
    QModelIndex indexOfRow(const GenericTreeItem *row) const { return indexOfItem(row); }

    void ensureFilled() const;
    QList<QUuid> documentIdsBelow(const GenericTreeItem &row) const;
    ItemPtr newDocumentRow(const QUuid &id) const;
    void onItemUpdated(const QUuid &id);
    bool isOwn(const QUuid &id) const { return m_own.contains(id); }
    GenericTreeItem *ownParent(const QUuid &id) const;
    qsizetype ownCount(const GenericTreeItem &parent) const;
    QModelIndex indexOfItem(const GenericTreeItem *item) const;
    void forget(const GenericTreeItem *item);

    mutable GenericTreeItem m_root;
    QHash<QUuid, ItemPtr> m_own;
    mutable QHash<QUuid, ItemPtr> m_documentItems;
    mutable bool m_isFilled = false;
    qsizetype m_ownTopCount = 0;
    QList<QUuid> m_wanted; ///< below the row that is updated
    QSet<QUuid> m_updated; ///< items to tell of when the rows are up to date
    DocumentRows m_rows;
    QPointer<ops::CorvaneOpExecutor> m_executor;
};

} // namespace corvane::item
