// What the panel shows; what it does is in ScenePanelEdits.cpp.
#include <corvane/item/ScenePanelModelAdapter.h>

#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/model/SlotManager.h>
#include <corvane/ops/CorvaneOpExecutor.h>

namespace corvane::item {

using component::ComponentRegistry;
using model::Corvane;
using model::LogicalInstance;
using model::LogicalScene;
using model::SceneItemView;

ScenePanelModelAdapter::ScenePanelModelAdapter(QObject *parent)
    : IScenePanelModel(parent)
{
    using Adapter = ScenePanelModelAdapter;
    connect(&m_rows, &DocumentRows::itemAdded, this, &Adapter::itemAdded);
    connect(&m_rows, &DocumentRows::itemRemoved, this, &Adapter::itemRemoved);
    connect(&m_rows, &DocumentRows::itemUpdated, this, &Adapter::itemUpdated);
    connect(&m_rows, &DocumentRows::itemRenamed, this, &Adapter::itemRenamed);
    connect(&m_rows, &DocumentRows::structureChanged, this, &Adapter::structureChanged);
}

ScenePanelModelAdapter::~ScenePanelModelAdapter() = default;

void ScenePanelModelAdapter::setExecutor(ops::CorvaneOpExecutor *executor,
                                         model::LogicalSceneCompiler *compiler)
{
    if (m_tree) {
        disconnect(m_tree, nullptr, this, nullptr);
        disconnect(m_tree->componentRegistry(), nullptr, this, nullptr);
    }
    if (m_document)
        disconnect(m_document, nullptr, this, nullptr);
    m_executor = executor;
    m_compiler = compiler;
    m_tree = executor ? executor->logicalScene() : nullptr;
    m_document = executor ? executor->scene().data() : nullptr;
    m_structures.setScene(m_tree);
    if (m_tree)
        connectTree();
    if (m_document)
        connect(m_document, &Corvane::selectionChanged, this, &IScenePanelModel::selectionChanged);
    // Tells that all is different.
    m_rows.setScene(m_document, !m_tree);
}

void ScenePanelModelAdapter::connectTree()
{
    using Adapter = ScenePanelModelAdapter;
    const LogicalScene *tree = m_tree;
    connect(tree, &LogicalScene::instanceAdded, this, &Adapter::itemAdded);
    connect(tree, &LogicalScene::instanceRemoved, this, &Adapter::itemRemoved);
    connect(tree, &LogicalScene::instanceNameChanged, this, &Adapter::itemRenamed);
    connect(tree, &LogicalScene::instanceParameterChanged, this, &Adapter::itemUpdated);
    connect(tree, &LogicalScene::instanceTransformChanged, this, &Adapter::itemUpdated);
    connect(tree, &LogicalScene::wrapperParameterChanged, this, &Adapter::itemUpdated);
    connect(tree, &LogicalScene::instanceTagsChanged, this, &Adapter::itemUpdated);
    connect(tree, &LogicalScene::selectionChanged, this, &Adapter::selectionChanged);
    connect(tree, &LogicalScene::structureChanged, this, &Adapter::onTreeStructureChanged);
    const ComponentRegistry *components = m_tree->componentRegistry();
    connect(components, &ComponentRegistry::definitionRegistered, this,
            &Adapter::onTreeStructureChanged);
    connect(components, &ComponentRegistry::definitionChanged, this,
            &Adapter::onTreeStructureChanged);
    connect(components, &ComponentRegistry::definitionRemoved, this,
            &Adapter::onTreeStructureChanged);
}

void ScenePanelModelAdapter::onTreeStructureChanged()
{
    m_structures.forget();
    emit structureChanged();
}

bool ScenePanelModelAdapter::isNode(const QUuid &id) const
{
    return m_tree && m_tree->contains(id);
}

const LogicalInstance *ScenePanelModelAdapter::node(const QUuid &id) const
{
    return m_tree ? std::as_const(*m_tree).instance(id) : nullptr;
}

/// With the parameters of its compiled item, where there is one.
SceneItemView ScenePanelModelAdapter::nodeView(const LogicalInstance &node) const
{
    const bool isCompiled = m_compiler && m_document && !node.isContainer() &&
                            !node.isComponentInstance() && m_compiler->mappings().contains(node.id);
    if (!isCompiled)
        return syntheticViewFromNode(node);
    const QUuid coreId = m_compiler->mappings().value(node.id).coreId;
    const SceneItemView view = viewFromImpl(m_document->item(coreId), m_tree);
    return view.id() == node.id ? view : syntheticViewFromNode(node);
}

QList<QUuid> ScenePanelModelAdapter::topIds() const
{
    return m_tree ? m_tree->roots() + m_rows.topIds() : m_rows.topIds();
}

QList<QUuid> ScenePanelModelAdapter::childIdsOf(const QUuid &id) const
{
    if (const LogicalInstance *found = node(id))
        return found->isComponentInstance() ? m_structures.childrenOf(id) : found->children;
    return m_structures.contains(id) ? m_structures.childrenOf(id) : m_rows.childIds(id);
}

QList<SceneItemView> ScenePanelModelAdapter::rootItems() const
{
    QList<SceneItemView> views;
    const QList<QUuid> ids = topIds();
    for (const QUuid &id : ids)
        views.append(*itemFor(id));
    return views;
}

QList<SceneItemView> ScenePanelModelAdapter::childrenOf(const QUuid &id) const
{
    QList<SceneItemView> views;
    const QList<QUuid> ids = childIdsOf(id);
    for (const QUuid &child : ids)
        views.append(*itemFor(child));
    return views;
}

std::optional<SceneItemView> ScenePanelModelAdapter::itemFor(const QUuid &id) const
{
    if (const LogicalInstance *found = node(id))
        return nodeView(*found);
    if (m_structures.contains(id)) {
        // What the instance gives to the component's parameters is known to the compiler.
        const LogicalInstance *expanded = m_compiler ? m_compiler->nodeFor(id) : nullptr;
        return syntheticViewFromNode(expanded ? *expanded : *m_structures.node(id));
    }
    if (m_rows.contains(id))
        return SceneItemView(m_document->item(id));
    return {};
}

bool ScenePanelModelAdapter::isReadOnly(const QUuid &id) const
{
    return m_structures.contains(id);
}

bool ScenePanelModelAdapter::canHaveChildren(const QUuid &id) const
{
    const auto view = itemFor(id);
    if (!view || isReadOnly(id) || view->isComponent())
        return false;
    return view->isContainer() ||
           (isNode(id) && model::SlotManager::hasChildSlots(view->definitionId()));
}

QUuid ScenePanelModelAdapter::selectedId() const
{
    const QList<QUuid> ids = selectedIds();
    return ids.contains(m_lastChosen) ? m_lastChosen : ids.value(0);
}

QList<QUuid> ScenePanelModelAdapter::selectedIds() const
{
    QList<QUuid> ids = m_tree ? m_tree->selectedInstances() : QList<QUuid>();
    const QList<QUuid> items = m_document ? m_document->selectedInstances() : QList<QUuid>();
    for (const QUuid &id : items) {
        if (m_rows.contains(id))
            ids.append(id);
    }
    return ids;
}

QUuid ScenePanelModelAdapter::selectable(const QUuid &id) const
{
    return m_structures.contains(id) ? m_structures.ref(id).ownerId : id;
}

void ScenePanelModelAdapter::selectItem(const QUuid &id)
{
    const QUuid wanted = selectable(id);
    m_lastChosen = wanted; // before the signals, whose listeners ask for it
    if (m_tree) {
        if (isNode(wanted))
            m_tree->setSelectedInstance(wanted);
        else
            m_tree->clearSelection();
    }
    if (!m_document)
        return;
    QList<QUuid> others = m_document->selectedInstances();
    others.removeIf([&](const QUuid &item) { return item == wanted || !m_rows.contains(item); });
    const bool isItem = !isNode(wanted) && m_rows.contains(wanted);
    m_document->changeSelection(others, isItem ? QList<QUuid>{wanted} : QList<QUuid>());
}

void ScenePanelModelAdapter::addToSelection(const QUuid &id)
{
    changeSelection(id, true);
}

void ScenePanelModelAdapter::removeFromSelection(const QUuid &id)
{
    changeSelection(id, false);
}

void ScenePanelModelAdapter::changeSelection(const QUuid &id, bool on)
{
    const QUuid wanted = selectable(id);
    if (on)
        m_lastChosen = wanted;
    if (isNode(wanted)) {
        if (on)
            m_tree->addToSelection(wanted);
        else
            m_tree->removeFromSelection(wanted);
    } else if (m_rows.contains(wanted)) {
        const QList<QUuid> changed{wanted};
        m_document->changeSelection(on ? QList<QUuid>() : changed, on ? changed : QList<QUuid>());
    }
}

QUuid ScenePanelModelAdapter::parentOf(const QUuid &id) const
{
    if (isNode(id))
        return m_tree->parentOf(id);
    const QUuid parent = m_document ? m_document->parentInstanceId(id) : QUuid();
    return m_rows.contains(parent) ? parent : QUuid();
}

QUuid ScenePanelModelAdapter::effectiveCreateParent(const QUuid &id) const
{
    const QUuid selected = selectable(id);
    const auto view = itemFor(selected);
    if (!view)
        return {};
    return view->isContainer() ? selected : parentOf(selected);
}

} // namespace corvane::item
