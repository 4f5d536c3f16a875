#pragma once

#include <corvane/item/IScenePanelModel.h>

#include <QAbstractItemModel>
#include <QHash>
#include <QPointer>

#include <deque>

namespace corvane::item {

/// An IScenePanelModel for views.
///
/// Rows are read when somebody asks for them, level by level. A change of the structure resets the
/// model. Main thread.
class ScenePanelItemModel : public QAbstractItemModel
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

private:
    struct Row
    {
        QUuid id{};
        Row *parent = nullptr;
        QList<Row *> children{};
        int row = 0;
        bool isRead = false;
    };

    void forgetRows();
    void onItemUpdated(const QUuid &id);
    Row &rowAt(const QModelIndex &index) const;
    const QList<Row *> &childrenOf(Row &row) const;
    QModelIndex indexOfRow(const Row *row) const;

    QPointer<IScenePanelModel> m_panel;
    mutable std::deque<Row> m_rows; ///< the root first
    mutable QHash<QUuid, Row *> m_byId;
};

} // namespace corvane::item
