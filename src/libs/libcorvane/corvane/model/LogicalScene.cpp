// The tree of a logical scene and its changes.
#include <corvane/model/LogicalScene.h>

#include <corvane/model/Logging.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

std::function<QUuid()> &defaultMaterialSource()
{
    static std::function<QUuid()> source;
    return source;
}

QUuid defaultMaterial()
{
    return defaultMaterialSource() ? defaultMaterialSource()()
                                   : MaterialLibrary::instance().defaultMaterialId();
}

/// Looks from both ends at once, since most edits are near one of them: the last child that was
/// added, or all children from the first on.
qsizetype positionOf(const QList<QUuid> &ids, const QUuid &id)
{
    for (qsizetype low = 0, high = ids.size() - 1; low <= high; ++low, --high) {
        if (ids.at(high) == id)
            return high;
        if (ids.at(low) == id)
            return low;
    }
    return -1;
}

} // namespace

LogicalScene::LogicalScene(QObject *parent)
    : QObject(parent)
    , m_componentRegistry(new component::ComponentRegistry(this))
{
    const auto touched = [this] { structureTouched(); };
    using component::ComponentRegistry;
    connect(m_componentRegistry, &ComponentRegistry::definitionRegistered, this, touched);
    connect(m_componentRegistry, &ComponentRegistry::definitionChanged, this, touched);
    connect(m_componentRegistry, &ComponentRegistry::definitionRemoved, this, touched);
}

LogicalScene::~LogicalScene() = default;

LogicalScene::Batch::Batch(LogicalScene &scene)
    : m_scene(scene)
{
    ++m_scene.m_batches;
}

LogicalScene::Batch::~Batch()
{
    if (--m_scene.m_batches > 0)
        return;
    if (std::exchange(m_scene.m_structureIsTouched, false))
        emit m_scene.structureChanged();
    emit m_scene.batchEnded();
}

const LogicalInstance *LogicalScene::instance(const QUuid &id) const
{
    const auto it = m_instances.constFind(id);
    return it == m_instances.cend() ? nullptr : &*it;
}

LogicalInstance *LogicalScene::instance(const QUuid &id)
{
    const auto it = m_instances.find(id);
    return it == m_instances.end() ? nullptr : &*it;
}

QList<QUuid> LogicalScene::children(const QUuid &id) const
{
    const LogicalInstance *node = instance(id);
    return node ? node->children : QList<QUuid>();
}

qsizetype LogicalScene::indexOf(const QUuid &id) const
{
    const LogicalInstance *parent = instance(parentOf(id));
    return positionOf(parent ? parent->children : m_roots, id);
}

bool LogicalScene::isWithin(const QUuid &id, const QUuid &ancestor) const
{
    if (!contains(id))
        return false;
    for (QUuid at = id; !at.isNull(); at = parentOf(at)) {
        if (at == ancestor)
            return true;
    }
    return false;
}

bool LogicalScene::isReachable(const QUuid &id, const QUuid &from) const
{
    QSet<QUuid> seen{from};
    QList<QUuid> open{from};
    while (!open.isEmpty()) {
        const LogicalInstance *node = instance(open.takeLast());
        if (!node)
            continue;
        if (node->id == id)
            return true;
        QList<QUuid> next = node->children;
        if (node->isReference())
            next.append(node->original);
        for (const QUuid &below : std::as_const(next)) {
            if (!seen.contains(below))
                open.append(below);
            seen.insert(below);
        }
    }
    return false;
}

QList<QUuid> LogicalScene::subtree(const QUuid &id) const
{
    QList<QUuid> found;
    QList<QUuid> open;
    if (contains(id))
        open.append(id);
    while (!open.isEmpty()) {
        found.append(open.takeLast());
        const QList<QUuid> &below = m_instances.constFind(found.last())->children;
        for (auto child = below.crbegin(); child != below.crend(); ++child)
            open.append(*child);
    }
    return found;
}

QList<QUuid> LogicalScene::nodesInOrder() const
{
    QList<QUuid> nodes;
    nodes.reserve(m_instances.size());
    for (const QUuid &root : m_roots)
        nodes += subtree(root);
    if (nodes.size() == m_instances.size())
        return nodes;
    const QSet<QUuid> roots(m_roots.cbegin(), m_roots.cend());
    for (auto it = m_instances.cbegin(); it != m_instances.cend(); ++it) {
        if (!m_parents.contains(it.key()) && !roots.contains(it.key()))
            nodes += subtree(it.key());
    }
    return nodes;
}

bool LogicalScene::isContainer(const QUuid &id) const
{
    const LogicalInstance *node = instance(id);
    return node && node->isContainer();
}

bool LogicalScene::isComponentInstance(const QUuid &id) const
{
    const LogicalInstance *node = instance(id);
    return node && node->isComponentInstance();
}

QString LogicalScene::componentDefIdOf(const QUuid &id) const
{
    const LogicalInstance *node = instance(id);
    return node ? node->componentDefId : QString();
}

bool LogicalScene::isIsolated(const QUuid &id) const
{
    const LogicalInstance *node = instance(id);
    return node && node->hasTag(u"isolated"_s);
}

QString LogicalScene::generateUniqueName(const QString &base) const
{
    return m_names.freeName(base);
}

QUuid LogicalScene::addInstance(const QString &definitionId, const QUuid &parentId)
{
    if (m_componentRegistry->contains(definitionId))
        return addComponentInstance(definitionId, parentId);
    LogicalInstance node;
    node.definitionId = definitionId;
    const auto definition = registry::Registry::instance().getDefinition(definitionId);
    const bool isNamed = definition && !definition->name.isEmpty();
    node.name = generateUniqueName(isNamed ? definition->name : definitionId);
    return addNode(node, parentId, -1);
}

QUuid LogicalScene::addComponentInstance(const QString &componentId, const QUuid &parentId,
                                         qsizetype index)
{
    const component::ComponentDefinition *definition = m_componentRegistry->find(componentId);
    if (!definition)
        return {};
    LogicalInstance node;
    node.componentDefId = componentId;
    node.name = generateUniqueName(definition->name.isEmpty() ? u"Component"_s : definition->name);
    return addNode(node, parentId, index);
}

QUuid LogicalScene::addContainer(const QString &baseName, const QUuid &parentId, qsizetype index)
{
    LogicalInstance node;
    node.name = generateUniqueName(baseName);
    return addNode(node, parentId, index);
}

QUuid LogicalScene::addNode(LogicalInstance node, const QUuid &parentId, qsizetype index)
{
    // The inside of a component can't be changed from outside.
    const bool isAllowed = !isComponentInstance(parentId);
    if (!isAllowed) {
        qCWarning(lcModel).noquote()
            << "LogicalScene::addInstance: refused \u2014 cannot add into a component instance";
        return {};
    }
    if (!node.isContainer() && node.materialId.isNull())
        node.materialId = defaultMaterial();
    const QStringList wrappers = initialWrappers(node.definitionId, node.componentDefId);
    for (const QString &wrapperId : wrappers)
        node.wrappers.append({wrapperId, {}});
    m_instances.insert(node.id, node);
    m_names.add(node.name);
    insertUnder(node.id, parentId, index);
    emit instanceAdded(node.id);
    structureTouched();
    return node.id;
}

void LogicalScene::removeInstance(const QUuid &id)
{
    const QList<QUuid> nodes = subtree(id);
    if (nodes.isEmpty())
        return;
    // From the last to the first: each is then the last child of its parent when its turn comes.
    for (auto node = nodes.crbegin(); node != nodes.crend(); ++node)
        forget(*node);
    structureTouched();
}

void LogicalScene::forget(const QUuid &id)
{
    takeFromSiblings(id);
    const auto node = m_instances.constFind(id);
    m_names.remove(node->name);
    m_references.remove(id);
    m_instances.erase(node);
    emit instanceRemoved(id);
}

QUuid LogicalScene::restoreInstance(const QVariantMap &map, const QUuid &parentId, qsizetype index)
{
    LogicalInstance node = LogicalInstance::fromVariantMap(map);
    if (isComponentInstance(parentId) || !enterRestored(node))
        return {};
    insertUnder(node.id, parentId, index);
    emit instanceAdded(node.id);
    structureTouched();
    return node.id;
}

QUuid LogicalScene::restoreDetached(const QVariantMap &map)
{
    LogicalInstance node = LogicalInstance::fromVariantMap(map);
    if (!enterRestored(node))
        return {};
    emit instanceAdded(node.id);
    structureTouched();
    return node.id;
}

/// Afterwards the node is detached.
bool LogicalScene::enterRestored(LogicalInstance &node)
{
    if (node.id.isNull() || contains(node.id))
        return false;
    node.children.removeIf(
        [this](const QUuid &child) { return !contains(child) || indexOf(child) >= 0; });
    for (const QUuid &child : std::as_const(node.children))
        m_parents.insert(child, node.id);
    m_instances.insert(node.id, node);
    m_names.add(node.name);
    noteOriginal(node);
    return true;
}

void LogicalScene::noteOriginal(const LogicalInstance &node)
{
    if (node.isReference())
        m_references.insert(node.id, node.original);
    else
        m_references.remove(node.id);
}

bool LogicalScene::canMove(const QUuid &id, const QUuid &newParent, QString *reason) const
{
    QString why;
    const LogicalInstance *parent = instance(newParent);
    if (!contains(id) || (!newParent.isNull() && (!parent || parent->isReference())))
        why = u"no such node"_s;
    else if (isComponentInstance(newParent))
        why = u"cannot move into a component instance"_s;
    else if (isWithin(newParent, id))
        why = u"would create a cycle"_s;
    if (reason)
        *reason = why;
    return why.isEmpty();
}

bool LogicalScene::moveInstance(const QUuid &id, const QUuid &newParent, qsizetype index)
{
    if (!contains(id))
        return false;
    QString reason;
    if (!canMove(id, newParent, &reason)) {
        qCWarning(lcModel).noquote() << "LogicalScene::moveInstance: refused \u2014" << reason;
        return false;
    }
    const qsizetype oldIndex = indexOf(id);
    if (parentOf(id) == newParent && oldIndex >= 0 && oldIndex < index)
        --index;
    takeFromSiblings(id);
    insertUnder(id, newParent, index);
    emit instanceMoved(id);
    structureTouched();
    return true;
}

bool LogicalScene::detachInstance(const QUuid &id)
{
    if (!contains(id))
        return false;
    takeFromSiblings(id);
    emit instanceMoved(id);
    structureTouched();
    return true;
}

void LogicalScene::clear()
{
    const Batch batch(*this);
    const bool wasSelected = !selectedInstances().isEmpty();
    m_instances.clear();
    m_roots.clear();
    m_parents.clear();
    m_names.clear();
    m_references.clear();
    m_componentRegistry->clear();
    structureTouched();
    if (wasSelected)
        emit selectionChanged();
}

void LogicalScene::setDefaultMaterialSource(const std::function<QUuid()> &source)
{
    defaultMaterialSource() = source;
}

QList<QUuid> &LogicalScene::siblingsUnder(const QUuid &parentId)
{
    LogicalInstance *parent = instance(parentId);
    return parent ? parent->children : m_roots;
}

void LogicalScene::insertUnder(const QUuid &id, const QUuid &parentId, qsizetype index)
{
    QList<QUuid> &siblings = siblingsUnder(parentId);
    siblings.insert(index < 0 ? siblings.size() : std::min(index, siblings.size()), id);
    if (contains(parentId))
        m_parents.insert(id, parentId);
}

/// Afterwards the node is detached.
void LogicalScene::takeFromSiblings(const QUuid &id)
{
    QList<QUuid> &siblings = siblingsUnder(parentOf(id));
    const qsizetype position = positionOf(siblings, id);
    if (position >= 0)
        siblings.removeAt(position);
    m_parents.remove(id);
}

void LogicalScene::structureTouched()
{
    if (m_batches > 0)
        m_structureIsTouched = true;
    else
        emit structureChanged();
}

} // namespace corvane::model
