#include <corvane/model/TreeModel.h>

#include <corvane/model/Logging.h>
#include <corvane/model/SlotManager.h>
#include <corvane/model/TreeBuilder.h>
#include <corvane/registry/Registry.h>

#include <QMimeData>
#include <QUndoStack>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

struct RoleName
{
    TreeModel::Role role;
    const char *name;
};

constexpr RoleName roleTable[] = {
    {TreeModel::UuidRole, "uuid"},
    {TreeModel::DefinitionIdRole, "definitionId"},
    {TreeModel::InstanceNameRole, "instanceName"},
    {TreeModel::IsRootRole, "isRoot"},
    {TreeModel::IsOrphanRole, "isOrphan"},
    {TreeModel::HasChildrenRole, "hasChildren"},
    {TreeModel::DepthRole, "depth"},
    {TreeModel::IsSlotRole, "isSlot"},
    {TreeModel::SlotNameRole, "slotName"},
    {TreeModel::IsEmptySlotRole, "isEmptySlot"},
    {TreeModel::SlotChildIdRole, "slotChildId"},
    {TreeModel::ParentDefinitionRole, "parentDefinition"},
    {TreeModel::ParentInstanceIdRole, "parentInstanceId"},
    {TreeModel::TagsRole, "tags"},
};

constexpr auto provenanceToolTip = R"(<table>%1
<tr><td>Source:</td><td>%2</td></tr>
<tr><td>Role:</td><td>%3</td></tr>
<tr><td>Parent:</td><td>%4</td></tr>
<tr><td>Compiled:</td><td>%5</td></tr>
</table>)"_L1;
constexpr auto orphanToolTipRow =
    R"(
<tr><td colspan="2"><font color="red">Orphan: no root leads here</font></td></tr>)"_L1;

QString idText(const QUuid &id)
{
    return id.isNull() ? QString() : id.toString(QUuid::WithoutBraces);
}

QStringList sortedTags(const SceneItem &item)
{
    QStringList tags(item.tags.cbegin(), item.tags.cend());
    tags.sort();
    return tags;
}

QString provenanceTip(const Instance &instance, bool isOrphan)
{
    const SDFNodeProvenance from = instance.provenance();
    const QString role = from.roleDetail.isEmpty()
                             ? roleToString(from.role)
                             : roleToString(from.role) + u" ("_s + from.roleDetail + u')';
    const QString above =
        from.parentCompiledId.isEmpty() ? u"(none \u2014 root)"_s : from.parentCompiledId;
    return provenanceToolTip.arg(isOrphan ? orphanToolTipRow : QLatin1StringView(),
                                 from.sourceItemName.toHtmlEscaped(), role.toHtmlEscaped(),
                                 above.toHtmlEscaped(), instance.name.toHtmlEscaped());
}

} // namespace

TreeModel::TreeModel(QObject *parent)
    : RowModel(parent)
{}

TreeModel::~TreeModel() = default;

void TreeModel::setScene(Corvane *scene)
{
    if (m_scene == scene)
        return;
    if (m_scene)
        disconnect(m_scene, nullptr, this, nullptr);
    disconnect(&registry::Registry::instance(), nullptr, this, nullptr);
    m_scene = scene;
    forgetRows();
    if (!scene)
        return;
    connect(scene, &Corvane::sceneChanged, this, &TreeModel::onSceneChanged);
    connect(scene, &Corvane::instanceAdded, this, &TreeModel::onSceneChanged);
    connect(scene, &Corvane::instanceRemoved, this, &TreeModel::onSceneChanged);
    connect(scene, &Corvane::rootsChanged, this, &TreeModel::onSceneChanged);
    connect(scene, &Corvane::instanceUpdated, this, &TreeModel::onSceneInstanceUpdated);
    connect(scene, &Corvane::selectionChanged, this, &TreeModel::onSceneSelectionChanged);
    connect(scene, &QObject::destroyed, this, &TreeModel::forgetRows);
    // The slots of an operator are a matter of its definition.
    const auto *registry = &registry::Registry::instance();
    connect(registry, &registry::Registry::primitiveRegistered, this, &TreeModel::touchLater);
    connect(registry, &registry::Registry::primitiveUnregistered, this, &TreeModel::touchLater);
    connect(registry, &registry::Registry::registryReset, this, &TreeModel::touchLater);
}

void TreeModel::setUndoStack(QUndoStack *undoStack)
{
    m_undoStack = undoStack;
}

void TreeModel::rebuildTree()
{
    beginResetModel();
    m_isBuilt = false;
    m_spare.clear();
    settle();
    ensureBuilt();
    endResetModel();
}

/// The signal also comes for variables and settings, which rows have no part in.
void TreeModel::onSceneChanged()
{
    const bool isSame =
        m_scene && m_builtRevision == m_scene->itemsRevision() && m_builtRoots == m_scene->roots();
    if (m_isBuilt && !isSame)
        touchLater();
}

void TreeModel::onSceneInstanceUpdated(const QUuid &id)
{
    if (!m_isBuilt || !m_scene)
        return;
    const QList<TreeNode *> places = m_places.value(id);
    if (places.isEmpty())
        return;
    // Another definition has other slots.
    if (places.first()->definitionId != m_scene->instance(id).definitionId()) {
        touchLater();
        return;
    }
    if (isStale())
        m_updated.insert(id);
    else
        tellUpdated(id);
}

void TreeModel::tellUpdated(const QUuid &id)
{
    const QList<TreeNode *> places = m_places.value(id);
    for (const TreeNode *node : places) {
        const QModelIndex index = indexFromNode(node);
        emit dataChanged(index, index);
    }
}

void TreeModel::onSceneSelectionChanged()
{
    emit selectionChanged();
}

QUuid TreeModel::instanceIdAt(const QModelIndex &index) const
{
    return nodeFromIndex(index)->instanceId;
}

QModelIndex TreeModel::indexForInstance(const QUuid &id) const
{
    ensureBuilt();
    const auto places = m_places.constFind(id);
    return places == m_places.cend() ? QModelIndex() : indexFromNode(places->first());
}

QModelIndexList TreeModel::selectedRows() const
{
    QModelIndexList rows;
    const QList<QUuid> selected = m_scene ? m_scene->selectedInstances() : QList<QUuid>();
    for (const QUuid &id : selected) {
        const QModelIndex row = indexForInstance(id);
        if (row.isValid())
            rows.append(row);
    }
    return rows;
}

const TreeNode *TreeModel::nodeFromIndex(const QModelIndex &index) const
{
    // An index is of the rows as they are, whatever has happened to the scene.
    if (!index.isValid())
        ensureBuilt();
    return index.isValid() ? static_cast<const TreeNode *>(index.constInternalPointer())
                           : &m_nodes.front();
}

QModelIndex TreeModel::indexFromNode(const TreeNode *node) const
{
    return node && node->parent ? createIndex(node->row, 0, node) : QModelIndex();
}

QModelIndex TreeModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, nodeFromIndex(parent)->children.at(row));
}

QModelIndex TreeModel::parent(const QModelIndex &index) const
{
    return index.isValid() ? indexFromNode(nodeFromIndex(index)->parent) : QModelIndex();
}

int TreeModel::rowCount(const QModelIndex &parent) const
{
    return parent.column() > 0 ? 0 : int(nodeFromIndex(parent)->children.size());
}

int TreeModel::columnCount(const QModelIndex &parent) const
{
    Q_UNUSED(parent)
    return 1;
}

QVariant TreeModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || !m_scene)
        return {};
    const TreeNode &node = *nodeFromIndex(index);
    switch (role) {
    case Qt::DisplayRole:
        return displayText(node);
    case Qt::EditRole:
        return m_scene->item(node.instanceId).name;
    case Qt::ToolTipRole:
        return toolTip(node);
    case Qt::DecorationRole:
        if (node.isOrphanRoot)
            return SlotManager::iconForDefinition(u"orphans"_s);
        return SlotManager::iconForDefinition(node.isEmptySlot ? u"empty_slot"_s
                                                               : node.definitionId);
    default:
        return roleValue(node, role);
    }
}

QVariant TreeModel::roleValue(const TreeNode &node, int role) const
{
    const TreeNode *owner = ownerOf(node);
    switch (role) {
    case UuidRole:
        return idText(node.instanceId);
    case DefinitionIdRole:
        return node.definitionId;
    case InstanceNameRole:
        return m_scene->item(node.instanceId).name;
    case IsRootRole:
        return node.depth == 0 && !node.isOrphanRoot;
    case IsOrphanRole:
        return node.isOrphan;
    case HasChildrenRole:
        return !node.children.isEmpty();
    case DepthRole:
        return node.depth;
    case IsSlotRole:
        return node.isSlot;
    case SlotNameRole:
        return node.slotName;
    case IsEmptySlotRole:
        return node.isEmptySlot;
    case SlotChildIdRole:
        return node.isSlot ? idText(node.instanceId) : QString();
    case ParentDefinitionRole:
        return owner ? owner->definitionId : QString();
    case ParentInstanceIdRole:
        return owner ? idText(owner->instanceId) : QString();
    case TagsRole:
        return sortedTags(m_scene->item(node.instanceId));
    default:
        return {};
    }
}

QString TreeModel::displayText(const TreeNode &node) const
{
    if (node.isOrphanRoot)
        return tr("Orphans");
    if (node.isEmptySlot)
        return u"[%1]: (drop here)"_s.arg(node.slotName);
    const QString name = SlotManager::displayNameForInstance(m_scene->instance(node.instanceId));
    return node.isSlot ? u"[%1]: %2"_s.arg(node.slotName, name) : name;
}

QString TreeModel::toolTip(const TreeNode &node) const
{
    if (node.isOrphanRoot)
        return tr("Instances that no root leads to");
    const Instance instance = m_scene->instance(node.instanceId);
    if (!node.isEmptySlot && instance.hasProvenance())
        return provenanceTip(instance, node.isOrphan);
    if (node.isSlot)
        return slotToolTip(node);
    return u"%1 (%2)\nID: %3"_s.arg(SlotManager::displayNameForInstance(instance),
                                    node.definitionId, idText(node.instanceId));
}

QString TreeModel::slotToolTip(const TreeNode &node) const
{
    if (!node.isEmptySlot) {
        const Instance instance = m_scene->instance(node.instanceId);
        return u"Slot '%1': %2 (%3)\nID: %4"_s.arg(node.slotName,
                                                   SlotManager::displayNameForInstance(instance),
                                                   node.definitionId, idText(node.instanceId));
    }
    const bool isRequired = node.slotIndex < ChildSlots::of(node.parent->definitionId).minimum;
    return isRequired
               ? u"Required slot '%1'\nDrag an instance here to fill"_s.arg(node.slotName)
               : u"Optional slot '%1'\nDrag an instance here to add more"_s.arg(node.slotName);
}

bool TreeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !m_scene || !flags(index).testFlag(Qt::ItemIsEditable))
        return false;
    const QUuid id = instanceIdAt(index);
    const QString name = value.toString().trimmed();
    const QUuid holder = m_scene->instanceIdByName(name);
    if (name.isEmpty() || (!holder.isNull() && holder != id))
        return false;
    DocumentEdit edit(*m_scene);
    edit.rename(id, name);
    edit.commit(m_undoStack, tr("Rename to \"%1\"").arg(name));
    return true;
}

Qt::ItemFlags TreeModel::flags(const QModelIndex &index) const
{
    const TreeNode &node = *nodeFromIndex(index);
    if (!node.parent)
        return Qt::ItemIsDropEnabled;
    if (node.isOrphanRoot)
        return Qt::ItemIsEnabled | Qt::ItemIsDropEnabled;
    const QUuid itemId = node.isEmptySlot ? node.parent->instanceId : node.instanceId;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (!m_scene || m_scene->item(itemId).hasTag(ItemTags::Compiled))
        return flags;
    flags |= Qt::ItemIsDropEnabled;
    if (!node.isEmptySlot)
        flags |= Qt::ItemIsEditable | Qt::ItemIsDragEnabled;
    return flags;
}

QHash<int, QByteArray> TreeModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    for (const RoleName &row : roleTable)
        names.insert(row.role, row.name);
    return names;
}

const TreeNode *TreeModel::ownerOf(const TreeNode &node) const
{
    return node.isSlot ? node.parent : nullptr;
}

} // namespace corvane::model
