#include <corvane/model/CompiledItems.h>

#include <corvane/model/Corvane.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

const QString coreSuffix = QStringLiteral("core");

/// "core" is no definition, but nothing keeps a file from having one of that id.
QUuid wrapperItemId(const QUuid &nodeId, const QString &wrapperId)
{
    return QUuid::createUuidV5(nodeId, u"wrapper "_s + wrapperId);
}

} // namespace

CompiledItems::CompiledItems(Corvane &document, const QSet<QUuid> &replaced)
    : m_document(document)
    , m_replaced(replaced)
    , m_compilation(document)
{}

CompiledInstanceMapping CompiledItems::addNode(const LogicalInstance &node)
{
    CompiledInstanceMapping mapping{
        .logicalId = node.id, .coreId = {}, .wrapperIds = {}, .outerId = {}};
    mapping.coreId =
        add(node, node.definitionId, coreSuffix, QUuid::createUuidV5(node.id, coreSuffix));
    mapping.outerId = mapping.coreId;
    m_compilation.fillCore(pending(mapping.coreId).item, node, before(mapping.coreId));
    addWrappers(node, mapping);
    return mapping;
}

CompiledInstanceMapping CompiledItems::addComponentInstance(const LogicalInstance &node,
                                                            const CompiledInstanceMapping &root)
{
    CompiledInstanceMapping mapping{
        .logicalId = node.id, .coreId = root.coreId, .wrapperIds = {}, .outerId = root.outerId};
    addWrappers(node, mapping);
    return mapping;
}

void CompiledItems::addWrappers(const LogicalInstance &node, CompiledInstanceMapping &mapping)
{
    for (auto wrapper = node.wrappers.crbegin(); wrapper != node.wrappers.crend(); ++wrapper) {
        const QString &wrapperId = wrapper->definitionId;
        if (wrapperId.isEmpty() || mapping.wrapperIds.contains(wrapperId))
            continue;
        const QUuid id = add(node, wrapperId, wrapperId, wrapperItemId(node.id, wrapperId));
        Instance &item = pending(id).item;
        item.tags = {ItemTags::Compiled};
        m_compilation.fillWrapper(item, *wrapper, before(id));
        NodeCompilation::applyConnectedTransform(item, wrapperId, node);
        setChildren(id, {mapping.outerId});
        mapping.wrapperIds.insert(wrapperId, id);
        mapping.outerId = id;
    }
}

QUuid CompiledItems::add(const LogicalInstance &node, const QString &definitionId,
                         const QString &suffix, const QUuid &id)
{
    Pending made{Instance(SceneItem(id)), {}, {}};
    made.item.setDefinitionId(definitionId);
    made.item.name = nameFor(node.id, suffix);
    made.provenance.compiledId = id;
    made.provenance.sourceItemId = node.id;
    made.provenance.sourceItemName = node.name;
    made.provenance.role = classifyRoleForSuffix(suffix);
    if (suffix != coreSuffix)
        made.provenance.roleDetail = suffix;
    m_indices.insert(id, m_items.size());
    m_items.push_back(std::move(made));
    return id;
}

QVariantMap CompiledItems::before(const QUuid &id) const
{
    return m_replaced.contains(id) ? m_document.instance(id).rawParams() : QVariantMap();
}

void CompiledItems::setChildren(const QUuid &coreId, const QList<QUuid> &outerIds)
{
    QVariantList children;
    children.reserve(outerIds.size());
    const QString parentName = pending(coreId).item.name;
    for (const QUuid &outerId : outerIds) {
        Pending &child = pending(outerId);
        child.provenance.parentCompiledId = parentName;
        children.append(QString(u'@' + child.item.name));
    }
    pending(coreId).children = children;
}

QSet<QUuid> CompiledItems::ids() const
{
    QSet<QUuid> ids;
    ids.reserve(qsizetype(m_items.size()));
    for (const Pending &made : m_items)
        ids.insert(made.item.id);
    return ids;
}

void CompiledItems::store()
{
    // Before the items go: the list of roots is searched for each that is removed.
    m_document.setRoots({});
    for (const QUuid &id : m_replaced) {
        if (!m_indices.contains(id))
            m_document.removeItem(id);
    }
    for (Pending &made : m_items) {
        if (!made.children.isEmpty())
            made.item.setLiteral(u"children"_s, made.children);
        made.item.setProvenance(made.provenance);
        m_document.addItem(made.item);
    }
}

QString CompiledItems::nameFor(const QUuid &nodeId, const QString &suffix)
{
    const QString digits = nodeId.toString(QUuid::WithoutBraces).first(8);
    const auto holder = m_shortNames.constFind(digits);
    if (holder == m_shortNames.cend())
        m_shortNames.insert(digits, nodeId);
    const bool isShared = holder != m_shortNames.cend() && *holder != nodeId;
    const auto isFree = [this](const QString &name) {
        const QUuid other = m_document.instanceIdByName(name);
        return !m_names.contains(name) && (other.isNull() || m_replaced.contains(other));
    };
    QString name = LogicalSceneCompiler::instanceName(nodeId, suffix);
    if (isShared || !isFree(name)) {
        const QString whole = u"__c_%1_%2"_s.arg(nodeId.toString(QUuid::WithoutBraces), suffix);
        name = whole;
        for (int count = 2; !isFree(name); ++count)
            name = whole + u'_' + QString::number(count);
    }
    m_names.insert(name);
    return name;
}

} // namespace corvane::model
