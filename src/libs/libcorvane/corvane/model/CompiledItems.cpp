#include <corvane/model/CompiledItems.h>

#include <corvane/model/Corvane.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

const QString coreSuffix = QStringLiteral("core");
const QString namePrefix = QStringLiteral("__c_");
constexpr qsizetype nameDigits = 8;
constexpr qsizetype usualItemsPerNode = 4;

/// An id of its own for each pair, as random as either. A hash of the pair would serve as well, but
/// not as fast.
QUuid combined(const QUuid &id, const QUuid &mask)
{
    QUuid made(id);
    made.data1 ^= mask.data1;
    made.data2 ^= mask.data2;
    made.data3 = ushort((made.data3 ^ mask.data3) & 0x0fff) | 0x8000; // version 8: by own rules
    for (std::size_t i = 0; i < std::size(made.data4); ++i)
        made.data4[i] ^= mask.data4[i];
    made.data4[0] = uchar((made.data4[0] & 0x3f) | 0x80);
    return made;
}

} // namespace

CompiledItems::CompiledItems(Corvane &document, const QSet<QUuid> &replaced, qsizetype nodeCount)
    : m_document(document)
    , m_replaced(replaced)
    , m_compilation(document)
{
    m_items.reserve(std::size_t(nodeCount * usualItemsPerNode));
    m_indices.reserve(nodeCount * usualItemsPerNode);
    m_shortNames.reserve(nodeCount);
    findForeignNames();
}

void CompiledItems::findForeignNames()
{
    const QMap<QString, QUuid> names = m_document.nameIndex();
    for (auto it = names.lowerBound(namePrefix);
         it != names.cend() && it.key().startsWith(namePrefix); ++it) {
        if (!m_replaced.contains(*it))
            m_takenNames.insert(it.key());
    }
}

CompiledInstanceMapping CompiledItems::addNode(const LogicalInstance &node)
{
    CompiledInstanceMapping mapping;
    mapping.logicalId = node.id;
    mapping.coreId = wrapperItemId(node.id, {});
    mapping.outerId = mapping.coreId;
    Pending &core = add(node, node.definitionId, mapping.coreId);
    core.item.name = nameFor(node.id, coreSuffix, true);
    core.provenance.role = SDFNodeProvenance::Role::Core;
    core.item.tags = NodeCompilation::coreTags(node);
    core.params = NodeCompilation::coreParameters(node, before(mapping.coreId));
    m_compilation.fillSurface(core.item, node);
    addWrappers(node, mapping);
    return mapping;
}

CompiledInstanceMapping CompiledItems::addComponentInstance(const LogicalInstance &node,
                                                            const CompiledInstanceMapping &root)
{
    CompiledInstanceMapping mapping;
    mapping.logicalId = node.id;
    mapping.coreId = root.coreId;
    mapping.outerId = root.outerId;
    addWrappers(node, mapping);
    return mapping;
}

void CompiledItems::addWrappers(const LogicalInstance &node, CompiledInstanceMapping &mapping)
{
    static const QSet<QString> tags{ItemTags::Compiled};
    for (auto wrapper = node.wrappers.crbegin(); wrapper != node.wrappers.crend(); ++wrapper) {
        const QString &wrapperId = wrapper->definitionId;
        if (wrapperId.isEmpty() || mapping.wrapperIds.contains(wrapperId))
            continue;
        const QUuid id = wrapperItemId(node.id, wrapperId);
        Pending &made = add(node, wrapperId, id);
        made.item.name = nameFor(node.id, wrapperId, false);
        made.item.tags = tags;
        made.provenance.role = classifyRoleForSuffix(wrapperId);
        made.provenance.roleDetail = wrapperId;
        made.params = m_compilation.wrapperParameters(*wrapper, before(id));
        NodeCompilation::applyConnectedTransform(made.params, wrapperId, node);
        setChildren(id, {mapping.outerId});
        mapping.wrapperIds.insert(wrapperId, id);
        mapping.outerId = id;
    }
}

CompiledItems::Pending &CompiledItems::add(const LogicalInstance &node, const QString &definitionId,
                                           const QUuid &id)
{
    m_indices.insert(id, m_items.size());
    m_items.push_back({Instance(SceneItem(id)), {}, {}, {}});
    Pending &made = m_items.back();
    made.item.setDefinitionId(definitionId);
    made.provenance.compiledId = id;
    made.provenance.sourceItemId = node.id;
    made.provenance.sourceItemName = node.name;
    return made;
}

QVariantMap CompiledItems::before(const QUuid &id) const
{
    return m_replaced.contains(id) ? m_document.instance(id).rawParams() : QVariantMap();
}

void CompiledItems::setChildren(const QUuid &coreId, const QList<QUuid> &outerIds)
{
    Pending &parent = pending(coreId);
    parent.children.reserve(outerIds.size());
    for (const QUuid &outerId : outerIds) {
        Pending &child = pending(outerId);
        child.provenance.parentCompiledId = parent.item.name;
        parent.children.append(QString(u'@' + child.item.name));
    }
}

void CompiledItems::store()
{
    QList<SceneItem> items;
    items.reserve(qsizetype(m_items.size()));
    for (Pending &made : m_items) {
        if (!made.children.isEmpty())
            made.params.insert(u"children"_s,
                               QVariant::fromValue(ParameterValue::fromLiteral(made.children)));
        made.item.setRawParams(made.params);
        made.item.setProvenance(made.provenance);
        items.append(made.item);
    }
    QSet<QUuid> gone;
    for (const QUuid &id : m_replaced) {
        if (!m_indices.contains(id))
            gone.insert(id);
    }
    m_document.exchangeItems(gone, items);
}

QString CompiledItems::nameFor(const QUuid &nodeId, const QString &suffix, bool isCore)
{
    const QString whole = nodeId.toString(QUuid::WithoutBraces);
    QUuid &holder = m_shortNames[whole.first(nameDigits)];
    if (holder.isNull())
        holder = nodeId;
    QString name = namePrefix + whole.first(nameDigits) + u'_' + suffix;
    // Nothing keeps a file from having a wrapper called "core".
    const bool isPlain = isCore || suffix != coreSuffix;
    if (isPlain && holder == nodeId && !m_takenNames.contains(name))
        return name;
    const QString longName = namePrefix + whole + u'_' + suffix;
    name = longName;
    for (int count = 2; m_takenNames.contains(name); ++count)
        name = longName + u'_' + QString::number(count);
    m_takenNames.insert(name);
    return name;
}

/// Of the core for an empty wrapper.
QUuid CompiledItems::wrapperItemId(const QUuid &nodeId, const QString &wrapperId)
{
    auto mask = m_masks.constFind(wrapperId);
    if (mask == m_masks.cend()) {
        static const QUuid space(u"{0d3b1b1e-6a53-4f0c-9c4e-5a7d1f0b2c86}"_s);
        mask = m_masks.insert(wrapperId, QUuid::createUuidV5(space, wrapperId));
    }
    return combined(nodeId, *mask);
}

} // namespace corvane::model
