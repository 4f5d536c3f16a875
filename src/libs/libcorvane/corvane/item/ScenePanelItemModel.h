#pragma once

#include <corvane/item/IScenePanelModel.h>
#include <corvane/model/RowModel.h>

#include <QHash>
#include <QPointer>

#include <deque>

namespace corvane::item {

/// An IScenePanelModel for views.
///
/// Rows are read when somebody asks for them, level by level. After a change of the structure the
/// levels that were read are compared, and what differs is inserted, moved and removed; see
/// RowModel for bursts of changes. Main thread.
class ScenePanelItemModel : public model::RowModel
{
    Q_OBJECT

public:
    enum Role {
        UuidRole = Qt::UserRole + 1, ///< "uuid": as text
        NameRole,                    ///< "name"; also Qt::DisplayRole and Qt::EditRole
        ItemTypeRole,                ///< "itemType"
        DefinitionIdRole,            ///< "definitionId"
        TagsRole,                    ///< "tags": sorted
        IsContainerRole,             ///< "isContainer"
        IsComponentRole,             ///< "isComponent"
        IsReadOnlyRole,              ///< "isReadOnly"
    };

    /// The format of dragged rows: their ids, a line each.
    static constexpr QLatin1StringView mimeType{"application/x-corvane-scene-items"};

    explicit ScenePanelItemModel(QObject *parent = nullptr);
    ~ScenePanelItemModel() override;

    /// Not owned; null for none.
    void setPanel(IScenePanelModel *panel);

    /// Null for an invalid index.
    QUuid idAt(const QModelIndex &index) const;
    /// Invalid for what has no row, or none that was asked for so far.
    QModelIndex indexOf(const QUuid &id) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// The edit role renames.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QHash<int, QByteArray> roleNames() const override;
    QStringList mimeTypes() const override { return {mimeType}; }
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }

protected:
    void updateRows() override;

private:
    friend class model::RowUpdate<ScenePanelItemModel>;
    struct Row
    {
        QUuid id{};
        Row *parent = nullptr;
        QList<Row *> children{};
        int row = 0;
        bool isRead = false;
    };

    // For RowUpdate
    using RowKey = QUuid;
    static bool isRead(const Row &row) { return row.isRead; }
    QList<QUuid> wantedBelow(const Row &row);
    static QUuid keyOf(const Row &row) { return row.id; }
    Row *rowElsewhere(const QUuid &id) const { return m_byId.value(id); }
    Row *makeRow(const Row &parent, qsizetype index);
    void dropRow(Row *row);
    void match(Row &parent, const QList<Row *> &placed);
    QModelIndex indexOfRow(const Row *row) const;

    void forgetRows();
    void onItemUpdated(const QUuid &id);
    Row &rowAt(const QModelIndex &index) const;
    Row *newRow(const QUuid &id) const;
    const QList<Row *> &childrenOf(Row &row) const;
    QList<QUuid> idsBelow(const Row &row) const;

    QPointer<IScenePanelModel> m_panel;
    mutable std::deque<Row> m_rows;   ///< the root first
    mutable QList<Row *> m_spareRows; ///< of these, rows that are gone
    mutable QHash<QUuid, Row *> m_byId;
    QList<QUuid> m_wanted; ///< below the row that is updated
    QSet<QUuid> m_updated; ///< to tell of when the rows are up to date
};

} // namespace corvane::item
