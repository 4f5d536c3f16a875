// The full compile: components are expanded, nodes become items, items refer to each other.
#include <corvane/compile/LogicalSceneCompiler.h>

#include <corvane/compile/CompiledItems.h>
#include <corvane/model/Logging.h>
#include <corvane/model/MaterialLibrary.h>

#include <QLoggingCategory>
#include <QSignalBlocker>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// Not silent by default, as other routine lines are: they come only when the setting asks for
/// them.
Q_LOGGING_CATEGORY(lcTrace, "ondrel.model.compiletrace")

constexpr qsizetype nameDigits = 8;

std::function<bool()> &traceSource()
{
    static std::function<bool()> source;
    return source;
}

/// What holds for a node because of those above it, found once for each.
class Surroundings
{
public:
    using ParentOf = std::function<QUuid(const QUuid &)>;
    using NodeFor = std::function<const LogicalInstance *(const QUuid &)>;

    struct State
    {
        bool isHidden = false;
        bool isInSoloScope = false;
        QUuid displayParent{}; ///< the group of the document that the nearest above stands in
    };

    Surroundings(const ParentOf &parentOf, const NodeFor &nodeFor, const QUuid &soloRoot)
        : m_parentOf(parentOf)
        , m_nodeFor(nodeFor)
        , m_soloRoot(soloRoot)
    {}

    State of(const QUuid &id)
    {
        QList<QUuid> path;
        QUuid at = id;
        while (!at.isNull() && !m_known.contains(at)) {
            path.append(at);
            at = m_parentOf(at);
        }
        State state = m_known.value(
            at, {.isHidden = false, .isInSoloScope = m_soloRoot.isNull(), .displayParent = {}});
        for (auto node = path.crbegin(); node != path.crend(); ++node) {
            const LogicalInstance *instance = m_nodeFor(*node);
            state.isHidden |= instance && instance->hasTag(InstanceTags::Hidden);
            state.isInSoloScope |= *node == m_soloRoot;
            if (instance && instance->hasOwnItem())
                state.displayParent = instance->displayParent();
            m_known.insert(*node, state);
        }
        return state;
    }

    bool isCompiled(const QUuid &id)
    {
        const State state = of(id);
        return state.isInSoloScope && !state.isHidden;
    }

private:
    ParentOf m_parentOf;
    NodeFor m_nodeFor;
    QUuid m_soloRoot;
    QHash<QUuid, State> m_known;
};

/// Those that no tree made.
QList<QUuid> rootsOfDocument(const Corvane &document, const QSet<QUuid> &compiled)
{
    QList<QUuid> roots = document.roots();
    roots.removeIf([&](const QUuid &id) {
        return compiled.contains(id) || !document.hasItem(id) ||
               document.item(id).hasTag(ItemTags::Compiled);
    });
    return roots;
}

} // namespace

LogicalSceneCompiler::LogicalSceneCompiler(QObject *parent)
    : QObject(parent)
    , m_memory(std::make_unique<CompileMemory>())
{}

LogicalSceneCompiler::~LogicalSceneCompiler() = default;

void LogicalSceneCompiler::setTraceSource(const std::function<bool()> &source)
{
    traceSource() = source;
}

QString LogicalSceneCompiler::instanceName(const QUuid &id, const QString &suffix)
{
    return u"__c_%1_%2"_s.arg(id.toString(QUuid::WithoutBraces).first(nameDigits), suffix);
}

void LogicalSceneCompiler::fullCompile()
{
    m_compileIsDue = false;
    if (!m_source || !m_target)
        return;
    {
        const QSignalBlocker noPartialState(m_target);
        const QList<QUuid> before = m_compiledToSource.keys();
        forgetResults();
        expandComponents();
        const QSet<QUuid> replaced(before.cbegin(), before.cend());
        const qsizetype nodeCount = m_source->instances().size() + m_expansion.nodes.size();
        const QList<QUuid> roots = rootsOfDocument(*m_target, replaced);
        CompiledItems items(*m_target, *m_memory, replaced, nodeCount);
        compileNodes(items);
        mapComponentInstances(items);
        mapReferences();
        linkChildren(items);
        items.store();
        linkRoots(roots);
        indexSources();
        m_lookups = {};
    }
    onLogicalSelectionChanged();
    emit compiled();
    if (traceSource() && traceSource()())
        trace();
    if (m_target)
        emit m_target->sceneChanged();
}

void LogicalSceneCompiler::compileSoon()
{
    if (m_source && m_source->isInBatch())
        m_compileIsDue = true;
    else
        fullCompile();
}

void LogicalSceneCompiler::onBatchEnded()
{
    if (m_compileIsDue)
        fullCompile();
}

void LogicalSceneCompiler::forgetResults()
{
    m_mappings.clear();
    m_compiledToSource.clear();
    m_expansion = {};
}

void LogicalSceneCompiler::expandComponents()
{
    ComponentExpander expander(*m_source->componentRegistry(), *m_target);
    for (const LogicalInstance &node : m_source->instances()) {
        if (node.isComponentInstance())
            expander.expand(node);
    }
    m_expansion = expander.expansion();
    m_warnings = expander.warnings();
    if (m_keepsWarnings)
        return;
    for (const QString &warning : std::as_const(m_warnings))
        qCWarning(lcModel).noquote() << warning;
}

void LogicalSceneCompiler::compileNodes(CompiledItems &items)
{
    Surroundings surroundings([this](const QUuid &id) { return parentOf(id); },
                              [this](const QUuid &id) { return nodeFor(id); }, m_soloRootId);
    bool usesMaterials = false;
    const auto isHidden = [](const LogicalInstance &node) {
        return node.hasTag(InstanceTags::Hidden);
    };
    const auto &nodes = m_source->instances();
    const bool allAreCompiled =
        m_soloRootId.isNull() && std::none_of(nodes.cbegin(), nodes.cend(), isHidden) &&
        std::none_of(m_expansion.nodes.cbegin(), m_expansion.nodes.cend(), isHidden);
    bool hasGroups = false;
    for (const LogicalInstance &node : nodes) {
        if (!node.hasOwnItem())
            continue;
        items.reserveName(node);
        hasGroups = hasGroups || !node.displayParent().isNull();
    }
    const auto compile = [&](const LogicalInstance &node) {
        m_lookups.nodes.insert(node.id, &node);
        if (node.isReference())
            m_lookups.references.append(node.id);
        if (hasGroups)
            m_lookups.displayParents.insert(node.id, surroundings.of(node.id).displayParent);
        if (node.isContainer() || node.isComponentInstance() || node.isReference() ||
            !(allAreCompiled || surroundings.isCompiled(node.id)))
            return;
        enter(items.addNode(node, m_lookups.displayParents.value(node.id)));
        usesMaterials |= !node.materialId.isNull();
    };
    m_lookups.nodes.reserve(nodes.size() + m_expansion.nodes.size());
    for (const LogicalInstance &node : nodes)
        compile(node);
    for (const QUuid &id : std::as_const(m_expansion.order))
        compile(*m_expansion.nodes.constFind(id));
    if (usesMaterials) {
        connect(&MaterialLibrary::instance(), &MaterialLibrary::materialUpdated, this,
                &LogicalSceneCompiler::onMaterialUpdated, Qt::UniqueConnection);
    }
}

/// From the inside out: the root of a component may be a component instance itself.
void LogicalSceneCompiler::mapComponentInstances(CompiledItems &items)
{
    const auto &expanded = m_expansion.expanded;
    for (auto id = expanded.crbegin(); id != expanded.crend(); ++id) {
        const auto root = m_mappings.constFind(m_expansion.structureRoots.value(*id));
        if (root == m_mappings.cend())
            continue;
        const CompiledInstanceMapping inner = *root;
        for (const QUuid &wrapper : inner.wrapperIds)
            m_lookups.sources.insert(wrapper, *id);
        enter(
            items.addComponentInstance(*nodeFor(*id), inner, m_lookups.displayParents.value(*id)));
    }
}

/// Where a reference stands, the items of its original are listed once more.
void LogicalSceneCompiler::mapReferences()
{
    for (const QUuid &id : std::as_const(m_lookups.references)) {
        const auto outerId = m_lookups.outerIds.constFind(nodeFor(id)->original);
        if (outerId != m_lookups.outerIds.cend())
            m_lookups.outerIds.insert(id, QUuid(*outerId));
    }
}

void LogicalSceneCompiler::enter(const CompiledInstanceMapping &mapping)
{
    // The nodes come in the order of their ids.
    m_mappings.insert(m_mappings.cend(), mapping.logicalId, mapping);
    m_lookups.outerIds.insert(mapping.logicalId, mapping.outerId);
    m_lookups.sources.insert(mapping.coreId, mapping.logicalId);
    for (const QUuid &wrapper : mapping.wrapperIds)
        m_lookups.sources.insert(wrapper, mapping.logicalId);
}

void LogicalSceneCompiler::linkChildren(CompiledItems &items)
{
    for (const CompiledInstanceMapping &mapping : std::as_const(m_mappings)) {
        const LogicalInstance *node = nodeFor(mapping.logicalId);
        if (node->children.isEmpty() || node->isComponentInstance())
            continue;
        const QList<QUuid> outerIds = outerIdsOf(flattenContainers(node->children));
        if (!outerIds.isEmpty())
            items.setChildren(mapping.coreId, outerIds);
    }
}

/// Picking a part inside a component selects the component.
void LogicalSceneCompiler::indexSources()
{
    QList<QUuid> compiledIds = m_lookups.sources.keys();
    std::sort(compiledIds.begin(), compiledIds.end());
    for (const QUuid &compiledId : std::as_const(compiledIds)) {
        const QUuid source = m_lookups.sources.value(compiledId);
        const QUuid owner = m_expansion.owners.value(source, source);
        m_compiledToSource.insert(m_compiledToSource.cend(), compiledId, owner);
    }
}

void LogicalSceneCompiler::linkRoots(const QList<QUuid> &before)
{
    const bool isSolo = !m_soloRootId.isNull();
    const QList<QUuid> top = isSolo ? QList<QUuid>{m_soloRootId} : m_source->roots();
    QList<QUuid> roots = isSolo ? QList<QUuid>() : before;
    roots.removeIf([this](const QUuid &id) { return m_lookups.sources.contains(id); });
    // Behind the tree's, where those come that are added: an order for undo to find again.
    m_target->setRoots(outerIdsOf(flattenContainers(top)) + roots);
}

QList<QUuid> LogicalSceneCompiler::outerIdsOf(const QList<QUuid> &nodes) const
{
    QList<QUuid> outerIds;
    for (const QUuid &id : nodes) {
        const auto outerId = m_lookups.outerIds.constFind(id);
        if (outerId != m_lookups.outerIds.cend())
            outerIds.append(*outerId);
    }
    return outerIds;
}

const LogicalInstance *LogicalSceneCompiler::nodeFor(const QUuid &id) const
{
    if (const auto known = m_lookups.nodes.constFind(id); known != m_lookups.nodes.cend())
        return *known;
    const LogicalScene *source = m_source;
    if (const LogicalInstance *node = source ? source->instance(id) : nullptr)
        return node;
    const auto synthetic = m_expansion.nodes.constFind(id);
    return synthetic == m_expansion.nodes.cend() ? nullptr : &*synthetic;
}

bool LogicalSceneCompiler::nodeIsContainer(const QUuid &id) const
{
    const LogicalInstance *node = nodeFor(id);
    return node && node->isContainer();
}

QUuid LogicalSceneCompiler::parentOf(const QUuid &id) const
{
    const auto synthetic = m_expansion.parents.constFind(id);
    if (synthetic != m_expansion.parents.cend())
        return *synthetic;
    return m_source ? m_source->parentOf(id) : QUuid();
}

QList<QUuid> LogicalSceneCompiler::flattenContainers(const QList<QUuid> &ids) const
{
    QList<QUuid> flat;
    QList<QUuid> open(ids.crbegin(), ids.crend());
    while (!open.isEmpty()) {
        const QUuid id = open.takeLast();
        const LogicalInstance *node = nodeFor(id);
        if (!node || !node->isContainer()) {
            flat.append(id);
            continue;
        }
        for (auto child = node->children.crbegin(); child != node->children.crend(); ++child)
            open.append(*child);
    }
    return flat;
}

bool LogicalSceneCompiler::hiddenInChain(const QUuid &id) const
{
    for (QUuid at = id; !at.isNull(); at = parentOf(at)) {
        const LogicalInstance *node = nodeFor(at);
        if (node && node->hasTag(InstanceTags::Hidden))
            return true;
    }
    return false;
}

bool LogicalSceneCompiler::inSoloScope(const QUuid &id) const
{
    if (m_soloRootId.isNull())
        return true;
    QUuid at = id;
    while (!at.isNull() && at != m_soloRootId)
        at = parentOf(at);
    return !at.isNull();
}

void LogicalSceneCompiler::trace() const
{
    qCInfo(lcTrace).noquote() << "[compile-trace] === begin compile dump ===";
    for (auto it = m_compiledToSource.cbegin(); it != m_compiledToSource.cend(); ++it) {
        const Instance item = m_target->instance(it.key());
        const QString compiledId = it.key().toString(QUuid::WithoutBraces);
        if (!item.hasProvenance()) {
            qCInfo(lcTrace).noquote().nospace()
                << "[compile-trace] (no-provenance, compiledId=" << compiledId << ")";
            continue;
        }
        const SDFNodeProvenance from = item.provenance();
        const QString parent =
            from.parentCompiledId.isEmpty() ? u"(root)"_s : from.parentCompiledId;
        qCInfo(lcTrace).noquote().nospace()
            << "[compile-trace] sourceId=" << from.sourceItemId.toString(QUuid::WithoutBraces)
            << " compiledId=" << compiledId << " role=" << roleToString(from.role)
            << " roleDetail=" << from.roleDetail << " parent=" << parent;
    }
    qCInfo(lcTrace).noquote() << "[compile-trace] === end compile dump ===";
}

} // namespace corvane::model
