#include <corvane/model/TreeBuilder.h>

#include <corvane/model/Logging.h>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr qsizetype maxSharedRows = 65536;
/// A plain tree has a row per item and two empty slots at most, unless a definition asks for more.
constexpr qsizetype maxRowsPerItem = 4;
/// A definition may demand any number of children.
constexpr int maxEmptySlots = 256;

} // namespace

TreeBuilder::TreeBuilder(const Corvane &scene, std::deque<TreeNode> &nodes)
    : m_scene(scene)
    , m_nodes(nodes)
{}

void TreeBuilder::build(TreeNode &root)
{
    m_maxNodes = maxSharedRows + maxRowsPerItem * m_scene.items().size();
    QSet<QUuid> tops;
    const QList<QUuid> roots = m_scene.roots();
    for (const QUuid &id : roots) {
        if (!m_scene.hasItem(id) || tops.contains(id))
            continue;
        tops.insert(id);
        addInstance(root, id);
        collectInstanceIds(id);
    }
    const QList<QUuid> orphans = orphanTops();
    if (!orphans.isEmpty()) {
        TreeNode &above = addNode(root);
        above.isOrphanRoot = true;
        above.isOrphan = true;
        for (const QUuid &id : orphans)
            addInstance(above, id);
    }
    expand();
}

/// Level by level, so that the limit cuts the deepest rows.
void TreeBuilder::expand()
{
    const Recurse recurse = [this](TreeNode &slot, const QUuid &childId) {
        m_open.push_back({&slot, childId});
    };
    while (!m_open.empty() && !m_isCut) {
        const Open next = m_open.front();
        m_open.pop_front();
        createSlotNodes(*next.node, next.instanceId, recurse);
    }
    if (m_isCut)
        qCWarning(lcModel) << "TreeModel: instances are shared too often, rows end after"
                           << m_nodes.size();
}

void TreeBuilder::createSlotNodes(TreeNode &parent, const QUuid &instanceId, const Recurse &recurse)
{
    const QList<QUuid> children = slotsOf(instanceId);
    const ChildSlots &names = slotsOfDefinition(parent.definitionId);
    for (int i = 0; i < children.size(); ++i) {
        if (qsizetype(m_nodes.size()) >= m_maxNodes) {
            m_isCut = true;
            return;
        }
        TreeNode &slot = addNode(parent);
        slot.isSlot = true;
        slot.slotIndex = i;
        slot.slotName = names.nameOf(i);
        slot.isEmptySlot = children.at(i).isNull();
        if (slot.isEmptySlot)
            continue;
        fillFrom(slot, children.at(i));
        if (!m_backReferences.contains({instanceId, i}))
            recurse(slot, children.at(i));
    }
}

TreeNode &TreeBuilder::addNode(TreeNode &parent)
{
    TreeNode &node = m_nodes.emplace_back();
    node.parent = &parent;
    node.row = int(parent.children.size());
    node.depth = parent.depth + 1;
    node.isOrphan = parent.isOrphan;
    parent.children.append(&node);
    return node;
}

TreeNode &TreeBuilder::addInstance(TreeNode &parent, const QUuid &instanceId)
{
    TreeNode &node = addNode(parent);
    fillFrom(node, instanceId);
    m_open.push_back({&node, instanceId});
    return node;
}

void TreeBuilder::fillFrom(TreeNode &node, const QUuid &instanceId)
{
    node.instanceId = instanceId;
    node.definitionId = m_scene.instance(instanceId).definitionId();
}

const ChildSlots &TreeBuilder::slotsOfDefinition(const QString &definitionId)
{
    const auto known = m_definitions.constFind(definitionId);
    if (known != m_definitions.cend())
        return *known;
    return *m_definitions.insert(definitionId, ChildSlots::of(definitionId));
}

QList<QUuid> TreeBuilder::slotsOf(const QUuid &instanceId)
{
    const auto known = m_slots.constFind(instanceId);
    if (known != m_slots.cend())
        return *known;
    const QList<QUuid> read = readSlots(instanceId);
    m_slots.insert(instanceId, read);
    return read;
}

QList<QUuid> TreeBuilder::readSlots(const QUuid &instanceId)
{
    const Instance instance = m_scene.instance(instanceId);
    const ChildSlots slotRules =
        instance.isValid() ? slotsOfDefinition(instance.definitionId()) : ChildSlots{};
    if (!slotRules.exist)
        return {};
    const QStringList references = instance.childReferences();
    QList<QUuid> children;
    int filled = 0;
    qsizetype used = 0;
    for (const QString &reference : references) {
        children.append(m_scene.resolveReference(reference));
        if (reference.startsWith(u'@') || !children.last().isNull()) {
            ++filled;
            used = children.size();
        }
    }
    // A gap in the list must not push what comes behind it out of sight.
    qsizetype count = std::max(qsizetype(slotRules.visibleCount(filled)), used);
    if (slotRules.maximum >= 0)
        count = std::min(count, qsizetype(slotRules.maximum));
    children.resize(std::min(count, references.size() + maxEmptySlots));
    return children;
}

/// Walks all that hangs on `start`, depth first, and notes the slots that lead back up.
void TreeBuilder::collectInstanceIds(const QUuid &start)
{
    struct Step
    {
        QUuid id;
        QList<QUuid> children;
        int next = 0;
    };
    if (m_collected.contains(start))
        return;
    QSet<QUuid> above{start};
    std::vector<Step> path{{start, slotsOf(start)}};
    m_collected.insert(start);
    while (!path.empty()) {
        Step &step = path.back();
        if (step.next == step.children.size()) {
            above.remove(step.id);
            path.pop_back();
            continue;
        }
        const int slot = step.next++;
        const QUuid child = step.children.at(slot);
        if (above.contains(child))
            m_backReferences.insert({step.id, slot});
        if (child.isNull() || m_collected.contains(child))
            continue;
        m_collected.insert(child);
        above.insert(child);
        path.push_back({child, slotsOf(child)});
    }
}

/// What no root leads to, by name: those that nothing refers to, then one of each ring.
QList<QUuid> TreeBuilder::orphanTops()
{
    using Named = std::pair<QString, QUuid>;
    std::vector<Named> orphans;
    QSet<QUuid> referred;
    const QMap<QUuid, SceneItem> items = m_scene.items();
    for (const SceneItem &item : items) {
        if (item.itemType != ItemTypes::Sdf || m_collected.contains(item.id))
            continue;
        orphans.push_back({item.name, item.id});
        const QList<QUuid> children = slotsOf(item.id);
        referred.unite(QSet<QUuid>(children.cbegin(), children.cend()));
    }
    std::sort(orphans.begin(), orphans.end());
    QList<QUuid> tops;
    const auto take = [&](const Named &orphan) {
        if (m_collected.contains(orphan.second))
            return;
        tops.append(orphan.second);
        collectInstanceIds(orphan.second);
    };
    for (const Named &orphan : orphans) {
        if (!referred.contains(orphan.second))
            take(orphan);
    }
    for (const Named &orphan : orphans)
        take(orphan);
    return tops;
}

} // namespace corvane::model
