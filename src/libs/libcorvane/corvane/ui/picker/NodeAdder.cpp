#include <corvane/ui/picker/NodeAdder.h>

#include <corvane/registry/Registry.h>
#include <corvane/registry/ThingsFacade.h>
#include <corvane/ui/tree/treeOrder.h>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using registry::Definition;
using registry::NodeType;

bool isWrapper(NodeType type)
{
    return type == NodeType::PositionTransform || type == NodeType::DistanceModifier ||
           type == NodeType::PositionAwareModifier;
}

/// The parameter by which a wrapper comes into a stack; null for a definition without any.
const registry::ParameterDef *firstValue(const Definition &definition)
{
    const auto &all = definition.parameters;
    const auto it = std::find_if(all.cbegin(), all.cend(), [](const auto &parameter) {
        return !parameter.isChildParameter();
    });
    return it == all.cend() ? nullptr : &*it;
}

} // namespace

NodeAdder::NodeAdder(lifecycle::SceneSession *session, item::IScenePanelModel *panel,
                     QObject *parent)
    : QObject(parent)
    , m_session(session)
    , m_panel(panel)
{}

bool NodeAdder::add(const QString &id, const QString &kind)
{
    const auto definition = kind == registry::ThingKind::Component
                                ? registry::DefinitionPtr()
                                : registry::Registry::instance().getDefinition(id);
    const QList<QUuid> nodes = selectedNodes();
    if (definition && definition->nodeType == NodeType::CSGOperator && nodes.size() > 1)
        return addAround(id, nodes);
    if (definition && isWrapper(definition->nodeType) && !nodes.isEmpty() &&
        firstValue(*definition))
        return addWrapper(*definition, nodes);
    return addNode(id);
}

QList<QUuid> NodeAdder::selectedNodes() const
{
    QList<QUuid> nodes;
    const QList<QUuid> selected = m_panel->selectedIds();
    for (const QUuid &id : selected) {
        if (m_session->tree()->contains(id))
            nodes.append(id);
    }
    return inTreeOrder(*m_session->tree(), nodes);
}

bool NodeAdder::inOneStep(const QString &label, const std::function<bool()> &run)
{
    const int before = m_session->undoStack()->index();
    m_session->executor()->beginBatch(label);
    const bool isDone = run();
    m_session->executor()->endBatch();
    if (!isDone && m_session->undoStack()->index() > before)
        m_session->undoStack()->undo();
    return isDone;
}

bool NodeAdder::addNode(const QString &id)
{
    const QUuid parent = m_panel->effectiveCreateParent(m_panel->selectedId());
    const QUuid made = m_panel->createSdfInstance(id, parent);
    if (made.isNull())
        return false;
    m_panel->selectItem(made);
    emit added(made, {});
    return true;
}

// In the place of the first of them. What stands below another of them moves along with that.
bool NodeAdder::addAround(const QString &id, const QList<QUuid> &nodes)
{
    model::LogicalScene &tree = *m_session->tree();
    const QUuid parent = tree.parentOf(nodes.first());
    const int place = int(tree.indexOf(nodes.first()));
    QUuid made;
    const bool isDone = inOneStep(tr("Add %1").arg(id), [&] {
        made = m_panel->createSdfInstance(id, parent);
        return !made.isNull() && m_panel->moveItems(nodes, made, -1) &&
               m_panel->moveItem(made, parent, place);
    });
    if (!isDone)
        return false;
    m_panel->selectItem(made);
    emit added(made, {});
    return true;
}

bool NodeAdder::addWrapper(const Definition &wrapper, const QList<QUuid> &nodes)
{
    const registry::ParameterDef &parameter = *firstValue(wrapper);
    const bool isDone = inOneStep(tr("Add %1").arg(wrapper.name), [&] {
        return std::all_of(nodes.cbegin(), nodes.cend(), [&](const QUuid &node) {
            const bool isThere = m_session->tree()->instance(node)->wrapper(wrapper.id);
            return isThere ||
                   m_session->executor()->apply({ops::OpKind::SdfSetParameter,
                                                 {{u"itemId"_s, node},
                                                  {u"wrapperId"_s, wrapper.id},
                                                  {u"paramName"_s, parameter.name},
                                                  {u"value"_s, parameter.defaultValue}}});
        });
    });
    if (isDone)
        emit added(nodes.last(), wrapper.id);
    return isDone;
}

} // namespace corvane::ui
