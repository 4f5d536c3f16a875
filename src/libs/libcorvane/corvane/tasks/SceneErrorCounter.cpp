#include <corvane/tasks/SceneErrorCounter.h>

#include <corvane/expr/ExprCompiler.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>

namespace corvane::zirn {

SceneErrorCounter::SceneErrorCounter(QObject *executor)
    : QObject(executor)
{}

SceneErrorCounter &SceneErrorCounter::of(const SceneAccess &access)
{
    auto *counter =
        access.executor->findChild<SceneErrorCounter *>(QString(), Qt::FindDirectChildrenOnly);
    if (!counter)
        counter = new SceneErrorCounter(access.executor);
    counter->follow(access);
    return *counter;
}

void SceneErrorCounter::follow(const SceneAccess &access)
{
    using model::Corvane;
    using model::LogicalScene;
    if (m_document == access.document.data() && m_tree == access.tree)
        return;
    if (m_document)
        disconnect(m_document, nullptr, this, nullptr);
    if (m_tree)
        disconnect(m_tree, nullptr, this, nullptr);
    m_document = access.document.data();
    m_tree = access.tree;
    m_isStale = true;
    connect(m_document, &Corvane::varsetChanged, this, [this] { m_variablesChanged = true; });
    if (!m_tree)
        return;
    const auto remember = [this](const QUuid &id) { m_changedNodes.insert(id); };
    connect(m_tree, &LogicalScene::instanceAdded, this, remember);
    connect(m_tree, &LogicalScene::instanceRemoved, this, remember);
    connect(m_tree, &LogicalScene::instanceParameterChanged, this, remember);
    connect(m_tree, &LogicalScene::wrapperParameterChanged, this, remember);
    connect(m_tree, &LogicalScene::instanceMoved, this, [this] { m_hasMoves = true; });
    // A tree that is read anew says nothing of its nodes.
    connect(m_tree, &LogicalScene::structureChanged, this, [this] { m_treeChanged = true; });
}

int SceneErrorCounter::count()
{
    if (std::exchange(m_isStale, false)) {
        m_isBroken.clear();
        m_changedNodes.clear();
        m_hasMoves = false;
        m_variablesChanged = true;
        m_treeChanged = true;
        m_nodes.clear();
        m_treeBroken = 0;
    }
    // A structural edit names its nodes; without any the whole tree may be another one.
    const bool isExplained = std::exchange(m_hasMoves, false) || !m_changedNodes.isEmpty();
    if (std::exchange(m_treeChanged, false) && !isExplained)
        rereadTree();
    if (refreshScope()) {
        recountDocument();
        recountTree();
    }
    for (const QUuid &id : std::exchange(m_changedNodes, {}))
        recountNode(id);
    return m_treeBroken + m_documentBroken;
}

/// Whether anything changed that an expression may name, or that stands in the document.
bool SceneErrorCounter::refreshScope()
{
    const quint64 revision = m_document->itemsRevision();
    if (!std::exchange(m_variablesChanged, false) && revision == m_documentRevision)
        return false;
    m_documentRevision = revision;
    m_isScopeStale = true;
    return true;
}

void SceneErrorCounter::renewScope()
{
    m_isScopeStale = false;
    const expr::CompileContext scope = editorScope(*m_document);
    const bool isSuperset = std::all_of(
        m_scope.variables.keyBegin(), m_scope.variables.keyEnd(), [&](const QString &name) {
            const auto found = scope.variables.constFind(name);
            return found != scope.variables.cend() && *found == m_scope.variables.value(name);
        });
    // New names can only mend.
    if (isSuperset)
        m_isBroken.removeIf([](const auto &entry) { return entry.value(); });
    else
        m_isBroken.clear();
    m_scope = scope;
}

void SceneErrorCounter::recountDocument()
{
    m_documentBroken = brokenAmong(variableExpressions(*m_document));
    const auto items = m_document->items();
    for (const model::SceneItem &item : items) {
        if (item.itemType != model::ItemTypes::Sdf)
            continue;
        const ExpressionSites sites = expressionsIn(item);
        if (!sites.isEmpty() && !standsForNode(item, m_tree))
            m_documentBroken += brokenAmong(sites);
    }
}

void SceneErrorCounter::recountTree()
{
    m_treeBroken = 0;
    for (NodeEntry &entry : m_nodes) {
        entry.broken = brokenAmong(entry.texts);
        m_treeBroken += entry.broken;
    }
}

void SceneErrorCounter::recountNode(const QUuid &id)
{
    m_treeBroken -= m_nodes.take(id).broken;
    const model::LogicalInstance *node = m_tree ? std::as_const(*m_tree).instance(id) : nullptr;
    const ExpressionSites sites = node ? expressionsIn(*node) : ExpressionSites();
    if (sites.isEmpty())
        return;
    NodeEntry entry;
    for (const auto &site : sites)
        entry.texts.append(site.second);
    entry.broken = brokenAmong(entry.texts);
    m_treeBroken += entry.broken;
    m_nodes.insert(id, entry);
}

void SceneErrorCounter::rereadTree()
{
    m_nodes.clear();
    m_treeBroken = 0;
    if (!m_tree)
        return;
    const QList<QUuid> ids = m_tree->instances().keys();
    m_changedNodes = QSet<QUuid>(ids.cbegin(), ids.cend());
}

int SceneErrorCounter::brokenAmong(const QStringList &texts)
{
    return int(std::count_if(texts.cbegin(), texts.cend(),
                             [this](const QString &text) { return isBroken(text); }));
}

int SceneErrorCounter::brokenAmong(const ExpressionSites &sites)
{
    return int(std::count_if(sites.cbegin(), sites.cend(),
                             [this](const auto &site) { return isBroken(site.second); }));
}

bool SceneErrorCounter::isBroken(const QString &text)
{
    // Not before there is an expression: a scene may have thousands of variables and none.
    if (m_isScopeStale)
        renewScope();
    auto known = m_isBroken.constFind(text);
    if (known == m_isBroken.cend())
        known =
            m_isBroken.insert(text, !expr::ExprCompiler(m_scope).compile(text).errors.isEmpty());
    return *known;
}

} // namespace corvane::zirn
