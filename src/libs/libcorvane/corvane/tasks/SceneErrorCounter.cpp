#include <corvane/tasks/SceneErrorCounter.h>

#include <corvane/expr/ExprModel.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

QStringList textsOf(const ExpressionSites &sites)
{
    QStringList texts;
    for (const auto &site : sites)
        texts.append(site.second);
    return texts;
}

} // namespace

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
    connect(m_document, &Corvane::variableSet, this,
            [this](const QString &varset, const QString &name) {
                m_setVariables.append({varset, name});
                m_isVariableNamed = true;
            });
    connect(m_document, &Corvane::varsetChanged, this,
            [this] { m_variablesChanged |= !std::exchange(m_isVariableNamed, false); });
    if (!m_tree)
        return;
    const auto remember = [this](const QUuid &id) { m_changedNodes.insert(id); };
    connect(m_tree, &LogicalScene::instanceAdded, this, remember);
    connect(m_tree, &LogicalScene::instanceRemoved, this, remember);
    connect(m_tree, &LogicalScene::instanceParameterChanged, this, remember);
    connect(m_tree, &LogicalScene::wrapperParameterChanged, this, remember);
    connect(m_tree, &LogicalScene::instanceNameChanged, this, remember);
    connect(m_tree, &LogicalScene::instanceMoved, this, [this] { m_hasMoves = true; });
    // A tree that is read anew says nothing of its nodes.
    connect(m_tree, &LogicalScene::structureChanged, this, [this] { m_treeChanged = true; });
}

int SceneErrorCounter::count()
{
    if (std::exchange(m_isStale, false))
        startAnew();
    // A structural edit names its nodes; without any the whole tree may be another one.
    const bool isExplained = std::exchange(m_hasMoves, false) || !m_changedNodes.isEmpty();
    if (std::exchange(m_treeChanged, false) && !isExplained)
        rereadTree();
    for (const auto &[varset, name] : std::exchange(m_setVariables, {}))
        rereadVariable(varset, name);
    if (isDocumentAnother())
        rereadDocument();
    for (const QUuid &id : std::exchange(m_changedNodes, {}))
        rereadNode(id);
    return m_texts.count([this] { return editorScope(*m_document, m_tree); });
}

void SceneErrorCounter::startAnew()
{
    m_texts.clear();
    m_nodeTexts.clear();
    m_nodeNames.clear();
    m_names = {};
    m_variableTexts.clear();
    m_itemTexts.clear();
    m_setVariables.clear();
    m_changedNodes.clear();
    m_hasMoves = false;
    m_variablesChanged = true;
    m_treeChanged = true;
}

/// What one variable says, and what it means to the others that it is there.
void SceneErrorCounter::rereadVariable(const QString &varset, const QString &name)
{
    const model::VarsetEntry *entry = m_document->variables().findIn(varset, name);
    if (m_variablesChanged || !entry) {
        m_variablesChanged = true;
        return;
    }
    const QString location = variableLocation(varset, name);
    QStringList texts = m_variableTexts.take(location);
    const QString &text = entry->expression;
    m_texts.replace(texts, text.isEmpty() ? QStringList() : QStringList(text));
    if (!text.isEmpty())
        m_variableTexts.insert(location, texts);
    const expr::ExprType type = typeSeenByOthers(*entry);
    // A variable of a varset may stand behind one of the unnamed varset that has its full name.
    const bool isSame =
        varset.isEmpty()
            ? m_texts.setName(name, type) && m_texts.setName(u"default."_s + name, type)
            : m_document->variables().findIn({}, varset + u'.' + name) != nullptr ||
                  m_texts.setName(varset + u'.' + name, type);
    if (!isSame)
        m_texts.forgetScope();
}

/// Of a derived variable what its text gives, and a number where that gives nothing.
expr::ExprType SceneErrorCounter::typeSeenByOthers(const model::VarsetEntry &entry) const
{
    using expr::ExprType;
    if (entry.expression.isEmpty())
        return expr::typeOfVariable(entry);
    const ExprType result = m_texts.typeOf(entry.expression);
    if (result != ExprType::Unknown)
        return expr::typeOfDerived(entry, result);
    const ExprType declared = expr::typeOfVariable(entry);
    return declared == ExprType::Unknown ? ExprType::Float : declared;
}

/// Whether anything changed, unsaid what, that an expression may name or that stands in the
/// document.
bool SceneErrorCounter::isDocumentAnother()
{
    const quint64 revision = m_document->itemsRevision();
    if (!std::exchange(m_variablesChanged, false) && revision == m_documentRevision)
        return false;
    m_documentRevision = revision;
    m_texts.forgetScope();
    return true;
}

void SceneErrorCounter::rereadDocument()
{
    QHash<QString, QStringList> known = std::exchange(m_variableTexts, {});
    const ExpressionSites sites = variableExpressions(*m_document);
    for (const auto &[location, text] : sites) {
        QStringList texts = known.take(location);
        m_texts.replace(texts, {text});
        m_variableTexts.insert(location, texts);
    }
    for (QStringList &gone : known)
        m_texts.replace(gone, {});

    QStringList texts;
    const auto items = m_document->items();
    for (const model::SceneItem &item : items) {
        const ExpressionSites ofItem = expressionsIn(item);
        if (!ofItem.isEmpty() && !model::standsForNode(item, m_tree))
            texts += textsOf(ofItem);
    }
    m_texts.replace(m_itemTexts, texts);
}

void SceneErrorCounter::rereadNode(const QUuid &id)
{
    const model::LogicalInstance *node = m_tree ? std::as_const(*m_tree).instance(id) : nullptr;
    QStringList texts = m_nodeTexts.take(id);
    m_texts.replace(texts, node ? textsOf(expressionsIn(*node)) : QStringList());
    if (!texts.isEmpty())
        m_nodeTexts.insert(id, texts);
    rereadNames(id, node);
}

/// A node whose name nobody else has adds names; all else may take some away, or change what they
/// mean.
void SceneErrorCounter::rereadNames(const QUuid &id, const model::LogicalInstance *node)
{
    const bool isRead = node && !node->isContainer() && !node->isComponentInstance();
    const QString name = isRead ? node->name : QString();
    const NamedParameters before = m_nodeNames.take(id);
    const NamedParameters now{name, isRead ? expr::parameterTypes(name, node->params)
                                           : QMap<QString, expr::ExprType>()};
    m_names.remove(before.name, id);
    m_names.add(name, id);
    if (node)
        m_nodeNames.insert(id, now);
    if (before == now)
        return;
    const bool isNew = before.name.isEmpty() || before.name == name;
    bool areAdded = isNew && m_names.holder(name) == id &&
                    m_document->instanceIdByName(name).isNull() &&
                    std::all_of(before.types.keyBegin(), before.types.keyEnd(),
                                [&now](const QString &full) { return now.types.contains(full); });
    for (auto it = now.types.cbegin(); areAdded && it != now.types.cend(); ++it)
        areAdded = m_texts.setName(it.key(), *it);
    if (!areAdded)
        m_texts.forgetScope();
}

void SceneErrorCounter::rereadTree()
{
    const QList<QUuid> ids =
        m_nodeNames.keys() + (m_tree ? m_tree->instances().keys() : QList<QUuid>());
    m_changedNodes = QSet<QUuid>(ids.cbegin(), ids.cend());
}

} // namespace corvane::zirn
