// The rows of a TreeModel: made from the document, and brought up to date.
#include <corvane/model/TreeModel.h>

#include <corvane/model/RowUpdate.h>
#include <corvane/model/TreeBuilder.h>

namespace corvane::model {

/// The rows as they should be, and which of them a present row stands for.
struct TreeModel::Wanted
{
    std::deque<TreeNode> nodes{};
    QHash<const TreeNode *, const TreeNode *> byRow{};
    QHash<QUuid, int> placeCounts{};
    QList<TreeNode *> changed{}; ///< rows that show something else than before
};

void TreeModel::ensureBuilt() const
{
    if (m_isBuilt) {
        ask();
        return;
    }
    m_isBuilt = true;
    build(m_nodes);
    findPlaces();
    ask();
}

/// Makes all rows.
void TreeModel::build(std::deque<TreeNode> &nodes) const
{
    nodes.clear();
    TreeNode &root = nodes.emplace_back();
    if (!m_scene)
        return;
    m_builtRevision = m_scene->itemsRevision();
    m_builtRoots = m_scene->roots();
    TreeBuilder(*m_scene, nodes).build(root);
    for (const TreeNode &node : nodes) {
        QHash<QUuid, int> counts;
        for (TreeNode *child : node.children)
            child->repeat = node.children.size() > 1 ? counts[child->instanceId]++ : 0;
    }
}

/// The uppermost rows of an instance first.
void TreeModel::findPlaces() const
{
    m_places.clear();
    QList<TreeNode *> level{&m_nodes.front()};
    while (!level.isEmpty()) {
        QList<TreeNode *> next;
        for (TreeNode *node : std::as_const(level)) {
            if (!node->instanceId.isNull())
                m_places[node->instanceId].append(node);
            next += node->children;
        }
        level.swap(next);
    }
}

void TreeModel::forgetRows()
{
    if (!m_isBuilt)
        return;
    beginResetModel();
    m_isBuilt = false;
    m_nodes.clear();
    m_spare.clear();
    m_places.clear();
    m_updated.clear();
    settle();
    endResetModel();
}

void TreeModel::updateRows()
{
    // Without rows nobody has seen any of the next state: there is nothing to tell.
    if (!m_isBuilt)
        return;
    if (m_nodes.front().children.isEmpty()) {
        forgetRows();
        return;
    }
    Wanted wanted;
    build(wanted.nodes);
    for (const TreeNode &node : wanted.nodes) {
        if (!node.instanceId.isNull())
            ++wanted.placeCounts[node.instanceId];
    }
    wanted.byRow.insert(&m_nodes.front(), &wanted.nodes.front());
    m_wanted = &wanted;
    RowUpdate(*this).run(m_nodes.front());
    m_wanted = nullptr;
    findPlaces();
    for (const TreeNode *node : std::as_const(wanted.changed)) {
        const QModelIndex index = indexFromNode(node);
        emit dataChanged(index, index);
    }
    const QSet<QUuid> updated = std::exchange(m_updated, {});
    for (const QUuid &id : updated)
        tellUpdated(id);
}

bool TreeModel::isRead(const TreeNode &node) const
{
    Q_UNUSED(node)
    return true;
}

QList<TreeModel::RowKey> TreeModel::wantedBelow(const TreeNode &node) const
{
    const TreeNode &wanted = *m_wanted->byRow.value(&node);
    QList<RowKey> keys;
    keys.reserve(wanted.children.size());
    for (const TreeNode *child : wanted.children)
        keys.append(keyOf(*child));
    return keys;
}

TreeModel::RowKey TreeModel::keyOf(const TreeNode &node) const
{
    // The row of the orphans is no empty slot, although no instance stands there either.
    return {node.instanceId, node.isOrphanRoot ? -1 : node.repeat};
}

/// Which row of several would be moved where is anybody's guess: only one that is alone is.
TreeNode *TreeModel::rowElsewhere(const RowKey &key) const
{
    const QList<TreeNode *> places = m_places.value(key.first);
    const bool isAlone = places.size() == 1 && m_wanted->placeCounts.value(key.first) == 1;
    return isAlone ? places.first() : nullptr;
}

TreeNode *TreeModel::makeRow(const TreeNode &parent, qsizetype index)
{
    const TreeNode *wanted = m_wanted->byRow.value(&parent)->children.at(index);
    TreeNode *node = m_spare.isEmpty() ? &m_nodes.emplace_back() : m_spare.takeLast();
    *node = *wanted;
    node->children.clear();
    return node;
}

void TreeModel::dropRow(TreeNode *node)
{
    QList<TreeNode *> dropped{node};
    for (qsizetype next = 0; next < dropped.size(); ++next)
        dropped += dropped.at(next)->children;
    for (TreeNode *row : std::as_const(dropped))
        m_places[row->instanceId].removeOne(row);
    m_spare += dropped;
}

/// The rows show what is wanted from here on.
void TreeModel::match(TreeNode &parent, const QList<TreeNode *> &placed)
{
    const QList<TreeNode *> wanted = m_wanted->byRow.value(&parent)->children;
    for (qsizetype i = 0; i < placed.size(); ++i) {
        TreeNode &row = *placed.at(i);
        TreeNode now = *wanted.at(i);
        m_wanted->byRow.insert(&row, wanted.at(i));
        now.parent = row.parent;
        now.children = row.children;
        now.row = row.row;
        if (std::exchange(row, now) != now)
            m_wanted->changed.append(&row);
    }
}

} // namespace corvane::model
