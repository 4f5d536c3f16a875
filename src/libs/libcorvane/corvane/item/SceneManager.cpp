#include <corvane/item/SceneManager.h>

#include <corvane/model/DocumentEdit.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/SlotManager.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::item {

namespace {

using model::ChildSlots;
using model::Corvane;
using model::Instance;
using model::LogicalInstance;
using model::LogicalScene;
using model::SlotManager;

const QString childrenParam = QStringLiteral("children");

QUndoStack *undoStackOf(const ops::CorvaneOpExecutor *executor)
{
    return executor ? executor->undoStack() : nullptr;
}

/// The defaults of a definition, overlaid by what `old` has under the same names.
QVariantMap parametersFor(const registry::Definition &definition, const QVariantMap &old)
{
    QVariantMap params = definition.getDefaultParameters();
    for (auto it = params.begin(); it != params.end(); ++it)
        *it = old.value(it.key(), *it);
    params.remove(childrenParam);
    return params;
}

} // namespace

SceneManager::SceneManager(QObject *parent)
    : QObject(parent)
{}

SceneManager::~SceneManager() = default;

void SceneManager::setScene(Corvane *scene)
{
    if (m_scene)
        disconnect(m_scene, nullptr, this, nullptr);
    m_scene = scene;
    forgetNames();
    if (!scene)
        return;
    connect(scene, &Corvane::instanceRemoved, this, &SceneManager::forgetNames);
    connect(scene, &Corvane::instanceRenamed, this, &SceneManager::forgetNames);
}

void SceneManager::setExecutor(ops::CorvaneOpExecutor *executor)
{
    m_executor = executor;
}

LogicalScene *SceneManager::tree() const
{
    return m_executor ? m_executor->logicalScene() : nullptr;
}

QString SceneManager::generateUniqueName(const QString &base, const QString &separator) const
{
    const QString stem = base + separator;
    int number = m_takenBelow.value(stem, 1);
    while (m_scene && !m_scene->instanceIdByName(stem + QString::number(number)).isNull())
        ++number;
    if (m_scene)
        m_takenBelow.insert(stem, number);
    return u"%1%2%3"_s.arg(base, separator, QString::number(number));
}

QUuid SceneManager::nodeOf(const QUuid &id) const
{
    const LogicalScene *nodes = tree();
    if (!nodes)
        return {};
    if (nodes->contains(id))
        return id;
    const model::SDFNodeProvenance from = m_scene->instance(id).provenance();
    const bool isCore = from.role == model::SDFNodeProvenance::Role::Core;
    return isCore && nodes->contains(from.sourceItemId) ? from.sourceItemId : QUuid();
}

QUuid SceneManager::failDuplicate(const QUuid &id, const QString &reason)
{
    emit duplicateFailed(id, reason);
    return {};
}

QUuid SceneManager::duplicateInstance(const QUuid &id)
{
    if (!m_scene)
        return failDuplicate(id, u"No scene available"_s);
    const QUuid node = nodeOf(id);
    if (!node.isNull())
        return duplicateNode(node);
    if (!m_scene->hasItem(id))
        return failDuplicate(id, u"Source instance not found"_s);
    Instance copy = m_scene->instance(id);
    if (copy.itemType != model::ItemTypes::Sdf || !copy.isValid())
        return failDuplicate(id, u"Source instance is invalid"_s);

    const QString base = copy.name.isEmpty() ? copy.definitionId() : copy.name;
    copy.id = QUuid::createUuid();
    copy.name = generateUniqueName(model::duplicateBaseName(base) + u"_copy"_s);
    copy.tags -= {model::ItemTags::Selected, model::ItemTags::Hovered};
    model::DocumentEdit edit(*m_scene);
    edit.put(copy);
    QList<QUuid> roots = edit.roots();
    const qsizetype place = roots.indexOf(id);
    if (place >= 0)
        roots.insert(place + 1, copy.id);
    edit.setRoots(roots);
    edit.commit(undoStackOf(m_executor), tr("Duplicate"));
    emit instanceDuplicated(id, copy.id);
    return copy.id;
}

QUuid SceneManager::duplicateNode(const QUuid &nodeId)
{
    if (!m_executor->apply({ops::OpKind::ItemDuplicate, {{u"sourceId"_s, nodeId}}}))
        return failDuplicate(nodeId, u"Source instance is invalid"_s);
    const QUuid copy = m_executor->lastCreatedId();
    emit instanceDuplicated(nodeId, copy);
    return copy;
}

bool SceneManager::isOperator(const QString &definitionId)
{
    return SlotManager::hasChildSlots(definitionId);
}

QString SceneManager::definitionOf(const QUuid &id) const
{
    const LogicalScene *nodes = tree();
    const LogicalInstance *node = nodes ? nodes->instance(nodeOf(id)) : nullptr;
    return node ? node->definitionId : m_scene->instance(id).definitionId();
}

/// Children that stand in groups are operands one by one.
qsizetype SceneManager::filledSlots(const QUuid &id) const
{
    const LogicalScene *nodes = tree();
    const LogicalInstance *node = nodes ? nodes->instance(nodeOf(id)) : nullptr;
    if (!node) {
        const QStringList references = m_scene->instance(id).childReferences();
        return std::count_if(references.cbegin(), references.cend(),
                             [](const QString &reference) { return reference.startsWith(u'@'); });
    }
    qsizetype filled = 0;
    QList<QUuid> open = node->children;
    while (!open.isEmpty()) {
        const QUuid child = open.takeLast();
        if (nodes->isContainer(child))
            open += nodes->children(child);
        else
            ++filled;
    }
    return filled;
}

/// Why it can't be; empty when it can.
QString SceneManager::swapObstacle(const QUuid &id, const QString &definitionId) const
{
    if (!m_scene)
        return u"No scene available"_s;
    if (!m_scene->hasItem(id) && nodeOf(id).isNull())
        return u"Source instance not found"_s;
    const QString current = definitionOf(id);
    if (!isOperator(current))
        return u"Source is not an operator (no slots)"_s;
    const ChildSlots target = ChildSlots::of(definitionId);
    if (!target.exist)
        return u"Target is not an operator (no slots)"_s;
    if (current == definitionId)
        return u"Cannot swap to the same operator type"_s;
    const qsizetype filled = filledSlots(id);
    if (target.maximum >= 0 && filled > target.maximum)
        return u"Target operator has fewer slots than needed (%1 filled, %2 available)"_s.arg(
            QString::number(filled), QString::number(target.maximum));
    return {};
}

QUuid SceneManager::swapOperator(const QUuid &id, const QString &definitionId)
{
    const QString obstacle = swapObstacle(id, definitionId);
    if (!obstacle.isEmpty()) {
        emit swapFailed(id, obstacle);
        return {};
    }
    const QUuid node = nodeOf(id);
    const QUuid swapped =
        node.isNull() ? swapInstance(id, definitionId) : swapNode(node, definitionId);
    if (!swapped.isNull())
        emit operatorSwapped(id, swapped);
    return swapped;
}

QUuid SceneManager::swapNode(const QUuid &nodeId, const QString &definitionId)
{
    const bool isDone =
        m_executor->apply({ops::OpKind::SdfSetDefinition,
                           {{u"itemId"_s, nodeId}, {u"definitionId"_s, definitionId}}});
    if (!isDone)
        emit swapFailed(nodeId, u"The scene refuses the change"_s);
    return isDone ? nodeId : QUuid();
}

/// What is no matter of the definition stays: transform, material, place in the display tree.
QUuid SceneManager::swapInstance(const QUuid &id, const QString &definitionId)
{
    const Instance old = m_scene->instance(id);
    const auto definition = registry::Registry::instance().getDefinition(definitionId);
    Instance swapped = old;
    swapped.id = QUuid::createUuid();
    swapped.name = generateUniqueName(definitionId);
    swapped.setDefinitionId(definitionId);
    swapped.setRawParams({});
    swapped.setParameters(parametersFor(*definition, old.rawParams()));
    model::DocumentEdit::setReferences(swapped, old.childReferences());

    model::DocumentEdit edit(*m_scene);
    edit.put(swapped);
    edit.redirect(id, swapped.id);
    edit.remove(id);
    edit.commit(undoStackOf(m_executor), tr("Change Definition to %1").arg(definitionId));
    return swapped.id;
}

} // namespace corvane::item
