#include <corvane/item/ScenePanelItemModel.h>

#include <corvane/model/IconShapes.h>
#include <corvane/model/RowUpdate.h>

#include <QMimeData>

using namespace Qt::StringLiterals;

namespace corvane::item {

namespace {

using model::SceneItemView;

struct RoleName
{
    ScenePanelItemModel::Role role;
    const char *name;
};

constexpr RoleName roleTable[] = {
    {ScenePanelItemModel::UuidRole, "uuid"},
    {ScenePanelItemModel::NameRole, "name"},
    {ScenePanelItemModel::ItemTypeRole, "itemType"},
    {ScenePanelItemModel::DefinitionIdRole, "definitionId"},
    {ScenePanelItemModel::TagsRole, "tags"},
    {ScenePanelItemModel::IsContainerRole, "isContainer"},
    {ScenePanelItemModel::IsComponentRole, "isComponent"},
    {ScenePanelItemModel::IsReadOnlyRole, "isReadOnly"},
};

QString iconName(const SceneItemView &view)
{
    if (view.isComponent())
        return u"component"_s;
    return view.itemType() == model::ItemTypes::Sdf ? view.definitionId() : view.itemType();
}

QStringList sortedTags(const SceneItemView &view)
{
    const QSet<QString> set = view.tags();
    QStringList tags(set.cbegin(), set.cend());
    tags.sort();
    return tags;
}

} // namespace

ScenePanelItemModel::ScenePanelItemModel(QObject *parent)
    : RowModel(parent)
    , m_rows(1)
{}

ScenePanelItemModel::~ScenePanelItemModel() = default;

void ScenePanelItemModel::setPanel(IScenePanelModel *panel)
{
    if (m_panel)
        disconnect(m_panel, nullptr, this, nullptr);
    m_panel = panel;
    forgetRows();
    if (!panel)
        return;
    connect(panel, &IScenePanelModel::structureChanged, this, &ScenePanelItemModel::touch);
    connect(panel, &IScenePanelModel::itemUpdated, this, &ScenePanelItemModel::onItemUpdated);
    connect(panel, &IScenePanelModel::itemRenamed, this, &ScenePanelItemModel::onItemUpdated);
    connect(panel, &QObject::destroyed, this, &ScenePanelItemModel::forgetRows);
}

/// Nobody has seen any row when the root was not asked for its own.
void ScenePanelItemModel::forgetRows()
{
    if (!m_rows.front().isRead)
        return;
    beginResetModel();
    m_rows.clear();
    m_rows.resize(1);
    m_spareRows.clear();
    m_byId.clear();
    m_updated.clear();
    settle();
    endResetModel();
}

void ScenePanelItemModel::updateRows()
{
    if (m_rows.front().isRead)
        model::RowUpdate(*this).run(m_rows.front());
    const QSet<QUuid> updated = std::exchange(m_updated, {});
    for (const QUuid &id : updated)
        onItemUpdated(id);
}

QList<QUuid> ScenePanelItemModel::wantedBelow(const Row &row)
{
    m_wanted = idsBelow(row);
    return m_wanted;
}

ScenePanelItemModel::Row *ScenePanelItemModel::makeRow(const Row &parent, qsizetype index)
{
    Q_UNUSED(parent)
    return newRow(m_wanted.at(index));
}

void ScenePanelItemModel::dropRow(Row *row)
{
    QList<Row *> dropped{row};
    for (qsizetype next = 0; next < dropped.size(); ++next) {
        Row *gone = dropped.at(next);
        dropped += gone->children;
        if (m_byId.value(gone->id) == gone)
            m_byId.remove(gone->id);
    }
    m_spareRows += dropped;
}

/// What rows show is asked for when it is needed.
void ScenePanelItemModel::match(Row &parent, const QList<Row *> &placed)
{
    Q_UNUSED(parent)
    Q_UNUSED(placed)
}

void ScenePanelItemModel::onItemUpdated(const QUuid &id)
{
    if (isStale()) {
        m_updated.insert(id);
        return;
    }
    const QModelIndex index = indexOfRow(m_byId.value(id));
    if (index.isValid())
        emit dataChanged(index, index);
}

ScenePanelItemModel::Row &ScenePanelItemModel::rowAt(const QModelIndex &index) const
{
    if (index.isValid())
        return *static_cast<Row *>(index.internalPointer());
    ask();
    return m_rows.front();
}

const QList<ScenePanelItemModel::Row *> &ScenePanelItemModel::childrenOf(Row &row) const
{
    if (row.isRead)
        return row.children;
    row.isRead = true;
    const QList<QUuid> ids = idsBelow(row);
    for (const QUuid &id : ids) {
        Row *child = newRow(id);
        child->parent = &row;
        child->row = int(row.children.size());
        row.children.append(child);
    }
    return row.children;
}

ScenePanelItemModel::Row *ScenePanelItemModel::newRow(const QUuid &id) const
{
    Row *row = m_spareRows.isEmpty() ? &m_rows.emplace_back() : m_spareRows.takeLast();
    *row = {};
    row->id = id;
    m_byId.insert(id, row);
    return row;
}

QList<QUuid> ScenePanelItemModel::idsBelow(const Row &row) const
{
    QList<SceneItemView> views;
    if (m_panel)
        views = row.parent ? m_panel->childrenOf(row.id) : m_panel->rootItems();
    QList<QUuid> ids;
    ids.reserve(views.size());
    for (const SceneItemView &view : std::as_const(views))
        ids.append(view.id());
    return ids;
}

QUuid ScenePanelItemModel::idAt(const QModelIndex &index) const
{
    return rowAt(index).id;
}

QModelIndex ScenePanelItemModel::indexOf(const QUuid &id) const
{
    ask();
    return indexOfRow(m_byId.value(id));
}

QModelIndex ScenePanelItemModel::indexOfRow(const Row *row) const
{
    return row && row->parent ? createIndex(row->row, 0, row) : QModelIndex();
}

QModelIndex ScenePanelItemModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, childrenOf(rowAt(parent)).at(row));
}

QModelIndex ScenePanelItemModel::parent(const QModelIndex &index) const
{
    return index.isValid() ? indexOfRow(rowAt(index).parent) : QModelIndex();
}

int ScenePanelItemModel::rowCount(const QModelIndex &parent) const
{
    return parent.column() > 0 ? 0 : int(childrenOf(rowAt(parent)).size());
}

int ScenePanelItemModel::columnCount(const QModelIndex &parent) const
{
    Q_UNUSED(parent)
    return 1;
}

QVariant ScenePanelItemModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || !m_panel)
        return {};
    const auto view = m_panel->itemFor(idAt(index));
    if (!view)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case NameRole:
        return view->name();
    case Qt::DecorationRole:
        return model::IconShapes::icon(iconName(*view));
    case UuidRole:
        return view->id().toString(QUuid::WithoutBraces);
    case ItemTypeRole:
        return view->itemType();
    case DefinitionIdRole:
        return view->definitionId();
    case TagsRole:
        return sortedTags(*view);
    case IsContainerRole:
        return view->isContainer();
    case IsComponentRole:
        return view->isComponent();
    case IsReadOnlyRole:
        return m_panel->isReadOnly(view->id());
    default:
        return {};
    }
}

bool ScenePanelItemModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    return role == Qt::EditRole && m_panel && index.isValid() &&
           m_panel->renameItem(idAt(index), value.toString());
}

Qt::ItemFlags ScenePanelItemModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    const QUuid id = idAt(index);
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (!m_panel || m_panel->isReadOnly(id))
        return flags;
    flags |= Qt::ItemIsEditable | Qt::ItemIsDragEnabled;
    return m_panel->canHaveChildren(id) ? flags | Qt::ItemIsDropEnabled : flags;
}

QHash<int, QByteArray> ScenePanelItemModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    for (const RoleName &row : roleTable)
        names.insert(row.role, row.name);
    return names;
}

QMimeData *ScenePanelItemModel::mimeData(const QModelIndexList &indexes) const
{
    QStringList ids;
    for (const QModelIndex &index : indexes)
        ids.append(idAt(index).toString(QUuid::WithoutBraces));
    if (ids.isEmpty())
        return nullptr;
    auto *mime = new QMimeData;
    mime->setData(mimeType, ids.join(u'\n').toUtf8());
    return mime;
}

bool ScenePanelItemModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row,
                                       int column, const QModelIndex &parent)
{
    Q_UNUSED(column)
    if (action == Qt::IgnoreAction)
        return true;
    if (action != Qt::MoveAction || !data || !m_panel || !data->hasFormat(mimeType))
        return false;
    QList<QUuid> ids;
    const QStringList lines = QString::fromUtf8(data->data(mimeType)).split(u'\n');
    for (const QString &line : lines)
        ids.append(QUuid::fromString(line));
    return m_panel->moveItems(ids, idAt(parent), row);
}

} // namespace corvane::item
