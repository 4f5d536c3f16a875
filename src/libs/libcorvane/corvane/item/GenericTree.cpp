#include <corvane/item/GenericTree.h>

#include <corvane/ops/CorvaneOpExecutor.h>

using namespace Qt::StringLiterals;

namespace corvane::item {

namespace {

struct RoleName
{
    GenericTree::Role role;
    const char *name;
};

constexpr RoleName roleTable[] = {
    {GenericTree::UuidRole, "uuid"},
    {GenericTree::NameRole, "name"},
    {GenericTree::TypeNameRole, "typeName"},
    {GenericTree::IsBuiltInRole, "isBuiltIn"},
    {GenericTree::CanHaveChildrenRole, "canHaveChildren"},
    {GenericTree::AcceptedChildTypesRole, "acceptedChildTypes"},
    {GenericTree::HasCustomIconRole, "hasCustomIcon"},
    {GenericTree::PreviewRole, "preview"},
};

} // namespace

GenericTree::GenericTree(QObject *parent)
    : RowModel(parent)
{
    connect(&m_rows, &DocumentRows::structureChanged, this, &GenericTree::touch);
    connect(&m_rows, &DocumentRows::itemUpdated, this, &GenericTree::onItemUpdated);
}

GenericTree::~GenericTree() = default;

void GenericTree::setScene(model::Corvane *scene)
{
    m_rows.setScene(scene, true);
}

void GenericTree::setExecutor(ops::CorvaneOpExecutor *executor)
{
    m_executor = executor;
}

void GenericTree::ensureFilled() const
{
    if (m_isFilled) {
        ask();
        return;
    }
    m_isFilled = true;
    QList<GenericTreeItem *> open{&m_root};
    for (qsizetype next = 0; next < open.size(); ++next) {
        GenericTreeItem &parent = *open.at(next);
        const QList<QUuid> ids = documentIdsBelow(parent);
        for (const QUuid &id : ids) {
            open.append(newDocumentRow(id).data());
            parent.insertChild(open.last());
        }
    }
    ask();
}

/// An item of the document may have the id of an entry only by mistake: the entry stays.
QList<QUuid> GenericTree::documentIdsBelow(const GenericTreeItem &row) const
{
    QList<QUuid> ids = &row == &m_root ? m_rows.topIds() : m_rows.childIds(keyOf(row));
    ids.removeIf([this](const QUuid &id) { return isOwn(id); });
    return ids;
}

GenericTree::ItemPtr GenericTree::newDocumentRow(const QUuid &id) const
{
    const EntryPtr made = ItemRegistry::instance().createEntry(m_rows.scene()->item(id));
    const ItemPtr row = ItemPtr::create(made);
    m_documentItems.insert(id, row);
    return row;
}

void GenericTree::updateRows()
{
    if (!m_isFilled)
        return;
    model::RowUpdate(*this).run(m_root);
    const QSet<QUuid> updated = std::exchange(m_updated, {});
    for (const QUuid &id : updated)
        onItemUpdated(id);
}

/// What stands below the program's entries does not follow the document.
bool GenericTree::isRead(const GenericTreeItem &row) const
{
    return &row == &m_root || !isOwn(keyOf(row));
}

QList<QUuid> GenericTree::wantedBelow(const GenericTreeItem &row)
{
    m_wanted.clear();
    if (&row == &m_root) {
        for (qsizetype i = 0; i < m_ownTopCount; ++i)
            m_wanted.append(keyOf(*m_root.children().at(i)));
    }
    m_wanted += documentIdsBelow(row);
    return m_wanted;
}

GenericTreeItem *GenericTree::rowElsewhere(const QUuid &id) const
{
    return m_documentItems.value(id).data();
}

GenericTreeItem *GenericTree::makeRow(const GenericTreeItem &parent, qsizetype index)
{
    Q_UNUSED(parent)
    return newDocumentRow(m_wanted.at(index)).data();
}

void GenericTree::dropRow(GenericTreeItem *row)
{
    QList<const GenericTreeItem *> dropped{row};
    QList<QUuid> ids;
    for (qsizetype next = 0; next < dropped.size(); ++next) {
        const auto &below = dropped.at(next)->children();
        dropped += QList<const GenericTreeItem *>(below.cbegin(), below.cend());
        ids.append(keyOf(*dropped.at(next)));
    }
    for (const QUuid &id : std::as_const(ids))
        m_documentItems.remove(id);
}

/// The document may have changed its items without a word about each.
void GenericTree::match(GenericTreeItem &parent, const QList<GenericTreeItem *> &placed)
{
    Q_UNUSED(parent)
    for (GenericTreeItem *row : placed) {
        if (isOwn(keyOf(*row)))
            continue;
        const EntryPtr now =
            ItemRegistry::instance().createEntry(m_rows.scene()->item(keyOf(*row)));
        const EntryPtr &before = row->entry();
        if (now->name() != before->name() || now->typeName() != before->typeName())
            m_updated.insert(keyOf(*row));
        else
            row->setEntry(now);
    }
}

void GenericTree::onItemUpdated(const QUuid &id)
{
    const auto row = m_documentItems.constFind(id);
    if (row == m_documentItems.cend())
        return;
    if (isStale()) {
        m_updated.insert(id);
        return;
    }
    (*row)->setEntry(ItemRegistry::instance().createEntry(m_rows.scene()->item(id)));
    entryChanged(id);
}

GenericTreeItem *GenericTree::ownParent(const QUuid &id) const
{
    return id.isNull() ? &m_root : m_own.value(id).data();
}

/// The document's rows at the top stand behind those of the program.
qsizetype GenericTree::ownCount(const GenericTreeItem &parent) const
{
    return &parent == &m_root ? m_ownTopCount : parent.children().size();
}

bool GenericTree::addEntry(const EntryPtr &entry, const QUuid &parentId, qsizetype index)
{
    ensureFilled();
    GenericTreeItem *parent = ownParent(parentId);
    if (!entry || !parent || entry->uuid().isNull() || this->entry(entry->uuid()) ||
        !parent->accepts(*entry))
        return false;
    const qsizetype count = ownCount(*parent);
    const qsizetype place = index >= 0 && index < count ? index : count;
    const ItemPtr row = ItemPtr::create(entry);
    beginInsertRows(indexOfItem(parent), int(place), int(place));
    parent->insertChild(row.data(), place);
    m_own.insert(entry->uuid(), row);
    m_ownTopCount += parent == &m_root;
    endInsertRows();
    return true;
}

bool GenericTree::removeEntry(const QUuid &id)
{
    const ItemPtr row = m_own.value(id);
    if (!row)
        return false;
    ensureFilled();
    GenericTreeItem *parent = row->parent();
    beginRemoveRows(indexOfItem(parent), row->row(), row->row());
    m_ownTopCount -= parent == &m_root;
    parent->takeChild(row->row());
    forget(row.data());
    endRemoveRows();
    return true;
}

void GenericTree::forget(const GenericTreeItem *item)
{
    QList<const GenericTreeItem *> open{item};
    QList<QUuid> ids;
    while (!open.isEmpty()) {
        const GenericTreeItem *next = open.takeLast();
        ids.append(next->entry()->uuid());
        open.append(
            QList<const GenericTreeItem *>(next->children().cbegin(), next->children().cend()));
    }
    for (const QUuid &id : std::as_const(ids))
        m_own.remove(id);
}

bool GenericTree::moveEntry(const QUuid &id, const QUuid &parentId, qsizetype index)
{
    const ItemPtr row = m_own.value(id);
    GenericTreeItem *target = ownParent(parentId);
    if (!row || !target || !target->accepts(*row->entry()))
        return false;
    for (const GenericTreeItem *above = target; above; above = above->parent()) {
        if (above == row.data())
            return false;
    }
    ensureFilled();
    GenericTreeItem *source = row->parent();
    const int from = row->row();
    const qsizetype count = ownCount(*target);
    const qsizetype to = index >= 0 && index < count ? index : count;
    if (source == target && (to == from || to == from + 1))
        return true;
    beginMoveRows(indexOfItem(source), from, from, indexOfItem(target), int(to));
    source->takeChild(from);
    target->insertChild(row.data(), source == target && from < to ? to - 1 : to);
    m_ownTopCount += (target == &m_root) - (source == &m_root);
    endMoveRows();
    return true;
}

void GenericTree::clear()
{
    beginResetModel();
    m_isFilled = false;
    m_root.clearChildren();
    m_updated.clear();
    settle();
    m_ownTopCount = 0;
    m_own.clear();
    m_documentItems.clear();
    endResetModel();
}

void GenericTree::entryChanged(const QUuid &id)
{
    const QModelIndex index = indexOf(id);
    if (!index.isValid())
        return;
    entry(id)->updatePreview();
    emit dataChanged(index, index);
}

EntryPtr GenericTree::entry(const QUuid &id) const
{
    const GenericTreeItem *row = itemAt(indexOf(id));
    return row->entry();
}

QModelIndex GenericTree::indexOf(const QUuid &id) const
{
    ensureFilled();
    const auto own = m_own.constFind(id);
    return indexOfItem(own == m_own.cend() ? m_documentItems.value(id).data() : own->data());
}

const GenericTreeItem *GenericTree::itemAt(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<const GenericTreeItem *>(index.constInternalPointer())
                           : &m_root;
}

QModelIndex GenericTree::indexOfItem(const GenericTreeItem *item) const
{
    return item && item->parent() ? createIndex(item->row(), 0, item) : QModelIndex();
}

QModelIndex GenericTree::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, itemAt(parent)->children().at(row));
}

QModelIndex GenericTree::parent(const QModelIndex &index) const
{
    return index.isValid() ? indexOfItem(itemAt(index)->parent()) : QModelIndex();
}

int GenericTree::rowCount(const QModelIndex &parent) const
{
    // An index is of the rows as they are, whatever has happened to the document.
    if (!parent.isValid())
        ensureFilled();
    return parent.column() > 0 ? 0 : int(itemAt(parent)->children().size());
}

int GenericTree::columnCount(const QModelIndex &parent) const
{
    Q_UNUSED(parent)
    return 1;
}

QVariant GenericTree::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const ISceneTreeEntry &entry = *itemAt(index)->entry();
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case NameRole:
        return entry.name();
    case Qt::DecorationRole:
        return entry.getIcon();
    case UuidRole:
        return entry.uuid().toString(QUuid::WithoutBraces);
    case TypeNameRole:
        return entry.typeName();
    case IsBuiltInRole:
        return entry.isBuiltIn();
    case CanHaveChildrenRole:
        return entry.canHaveChildren();
    case AcceptedChildTypesRole:
        return entry.acceptedChildTypes();
    case HasCustomIconRole:
        return entry.hasCustomIcon();
    case PreviewRole:
        return entry.getPreview();
    default:
        return {};
    }
}

bool GenericTree::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const QString name = value.toString().trimmed();
    if (role != Qt::EditRole || name.isEmpty() || !flags(index).testFlag(Qt::ItemIsEditable))
        return false;
    const EntryPtr entry = itemAt(index)->entry();
    if (isOwn(entry->uuid())) {
        entry->setName(name);
        emit dataChanged(index, index);
        return true;
    }
    return m_executor->apply(
        {ops::OpKind::ItemRename, {{u"itemId"_s, entry->uuid()}, {u"newName"_s, name}}});
}

Qt::ItemFlags GenericTree::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const ISceneTreeEntry &entry = *itemAt(index)->entry();
    const bool canRename = isOwn(entry.uuid()) ? !entry.isBuiltIn() : !m_executor.isNull();
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    return canRename ? flags | Qt::ItemIsEditable : flags;
}

QHash<int, QByteArray> GenericTree::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    for (const RoleName &row : roleTable)
        names.insert(row.role, row.name);
    return names;
}

} // namespace corvane::item
