#include <corvane/compile/CompiledItems.h>

#include <corvane/model/Corvane.h>

#include <algorithm>

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

/// What tells the items of a node apart: the wrapper, or nothing for the core.
QUuid maskOf(const QString &wrapperId)
{
    static const QUuid space(u"{0d3b1b1e-6a53-4f0c-9c4e-5a7d1f0b2c86}"_s);
    return QUuid::createUuidV5(space, wrapperId);
}

} // namespace

CompiledItems::CompiledItems(Corvane &document, CompileMemory &memory, const QSet<QUuid> &replaced,
                             qsizetype nodeCount)
    : m_document(document)
    , m_memory(memory)
    , m_replaced(replaced)
    , m_compilation(document)
{
    m_items.reserve(std::size_t(nodeCount * usualItemsPerNode));
    m_indices.reserve(nodeCount * usualItemsPerNode);
    m_shortNames.reserve(nodeCount);
    findForeignNames();
    forgetOutdated();
}

/// A definition may have got other defaults.
void CompiledItems::forgetOutdated()
{
    const auto &defaults = m_memory.defaults;
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        if (m_compilation.defaultsOf(it.key()) != *it) {
            m_memory = {};
            return;
        }
    }
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

void CompiledItems::reserveName(const LogicalInstance &node)
{
    const QString name = node.ownItem.value(u"name"_s, node.name).toString();
    ++m_ownNames[name];
    if (name.startsWith(namePrefix))
        m_takenNames.insert(name);
}

CompiledInstanceMapping CompiledItems::addNode(const LogicalInstance &node,
                                               const QUuid &displayParent)
{
    if (const CompileMemory::Node *known = unchanged(node, displayParent)) {
        keep(node, known->mapping);
        return known->mapping;
    }
    const CompiledInstanceMapping mapping = makeNode(node, displayParent);
    remember(node, displayParent, mapping);
    return mapping;
}

const CompileMemory::Node *CompiledItems::unchanged(const LogicalInstance &node,
                                                    const QUuid &displayParent)
{
    const auto known = m_memory.nodes.constFind(node.id);
    if (known == m_memory.nodes.cend() || known->displayParent != displayParent ||
        known->node != node || !m_takenNames.isEmpty() || !takeShortName(node.id))
        return nullptr;
    const CompiledInstanceMapping &mapping = known->mapping;
    const auto core = m_memory.items.constFind(mapping.coreId);
    if (core == m_memory.items.cend() || !isAsStored(mapping.coreId))
        return nullptr;
    const Material &stored = core->item.material;
    const Material now = m_compilation.materialOf(node);
    const bool isSameMaterial = stored.albedo == now.albedo && stored.metallic == now.metallic &&
                                stored.roughness == now.roughness &&
                                stored.emission == now.emission;
    const bool isSame =
        isSameMaterial && std::all_of(mapping.wrapperIds.cbegin(), mapping.wrapperIds.cend(),
                                      [this](const QUuid &id) { return isAsStored(id); });
    return isSame ? &*known : nullptr;
}

bool CompiledItems::isAsStored(const QUuid &itemId) const
{
    const auto known = m_memory.items.constFind(itemId);
    const auto items = m_document.items();
    const auto stored = items.constFind(itemId);
    return known != m_memory.items.cend() && stored != items.cend() && *stored == known->item;
}

/// What the items of a node say of each other is as it was; who refers to the outer one, and to
/// whom the core refers, is yet to come.
void CompiledItems::keep(const LogicalInstance &node, const CompiledInstanceMapping &mapping)
{
    keepItem(mapping.coreId);
    pending(mapping.coreId).isOwn = node.hasOwnItem();
    pending(mapping.coreId).ownReferences = node.ownItem.value(u"children"_s).toStringList();
    for (const QUuid &id : mapping.wrapperIds)
        keepItem(id);
    pending(mapping.coreId).children.clear();
    pending(mapping.outerId).provenance.parentCompiledId.clear();
}

void CompiledItems::keepItem(const QUuid &id)
{
    const CompileMemory::Item &known = *m_memory.items.constFind(id);
    m_indices.insert(id, m_items.size());
    m_items.push_back({known.item, {}, {}, known.children, &known});
    m_items.back().provenance.parentCompiledId = known.parent;
}

/// The items themselves are remembered when they are stored.
void CompiledItems::remember(const LogicalInstance &node, const QUuid &displayParent,
                             const CompiledInstanceMapping &mapping)
{
    if (m_takenNames.isEmpty() && m_shortNames.value(node.id.data1) == node.id)
        m_made.insert(node.id, {node, displayParent, mapping});
    else
        m_memory.nodes.remove(node.id);
}

/// Nodes without items, and items without nodes.
void CompiledItems::forgetGone(const QSet<QUuid> &goneItems)
{
    for (const QUuid &id : goneItems)
        m_memory.items.remove(id);
    if (!goneItems.isEmpty()) {
        m_memory.nodes.removeIf([&goneItems](QHash<QUuid, CompileMemory::Node>::iterator it) {
            return goneItems.contains(it->mapping.coreId);
        });
    }
}

CompiledInstanceMapping CompiledItems::makeNode(const LogicalInstance &node,
                                                const QUuid &displayParent)
{
    CompiledInstanceMapping mapping;
    mapping.logicalId = node.id;
    mapping.coreId = node.hasOwnItem() ? node.id : wrapperItemId(node.id, {});
    mapping.outerId = mapping.coreId;
    Pending &core =
        node.hasOwnItem() ? addOwnCore(node) : addCore(node, mapping.coreId, displayParent);
    core.params = NodeCompilation::coreParameters(node, before(mapping.coreId));
    m_compilation.fillSurface(core.item, node);
    const QUuid shownIn = node.hasOwnItem() ? node.displayParent() : displayParent;
    addWrappers(node, shownIn, mapping);
    return mapping;
}

CompiledItems::Pending &CompiledItems::addCore(const LogicalInstance &node, const QUuid &id,
                                               const QUuid &displayParent)
{
    Pending &core = add(node, node.definitionId, id);
    core.item.name = nameFor(node.id, coreSuffix, true);
    core.item.parentId = displayParent;
    core.item.tags = NodeCompilation::coreTags(node);
    core.provenance.role = SDFNodeProvenance::Role::Core;
    return core;
}

CompiledItems::Pending &CompiledItems::addOwnCore(const LogicalInstance &node)
{
    takeShortName(node.id); // for the wrappers
    m_indices.insert(node.id, m_items.size());
    m_items.push_back({NodeCompilation::ownCore(node), {}, {}, {}, nullptr});
    m_items.back().isOwn = true;
    m_items.back().ownReferences = node.ownItem.value(u"children"_s).toStringList();
    return m_items.back();
}

CompiledInstanceMapping CompiledItems::addComponentInstance(const LogicalInstance &node,
                                                            const CompiledInstanceMapping &root,
                                                            const QUuid &displayParent)
{
    CompiledInstanceMapping mapping;
    mapping.logicalId = node.id;
    mapping.coreId = root.coreId;
    mapping.outerId = root.outerId;
    addWrappers(node, displayParent, mapping);
    return mapping;
}

void CompiledItems::addWrappers(const LogicalInstance &node, const QUuid &displayParent,
                                CompiledInstanceMapping &mapping)
{
    static const QSet<QString> tags{ItemTags::Compiled};
    for (auto wrapper = node.wrappers.crbegin(); wrapper != node.wrappers.crend(); ++wrapper) {
        const QString &wrapperId = wrapper->definitionId;
        if (wrapperId.isEmpty() || mapping.wrapperIds.contains(wrapperId))
            continue;
        const QUuid id = wrapperItemId(node.id, wrapperId);
        Pending &made = add(node, wrapperId, id);
        made.item.name = nameFor(node.id, wrapperId, false);
        made.item.parentId = displayParent;
        made.item.tags = tags;
        made.provenance.role = classifyRoleForSuffix(wrapperId);
        made.provenance.roleDetail = wrapperId;
        made.params = m_compilation.wrapperParameters(*wrapper, before(id));
        if (!m_memory.defaults.contains(wrapperId))
            m_memory.defaults.insert(wrapperId, m_compilation.defaultsOf(wrapperId));
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
    m_items.push_back({Instance(SceneItem(id)), {}, {}, {}, nullptr});
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
    for (const QUuid &outerId : outerIds)
        pending(outerId).provenance.parentCompiledId = parent.item.name;
    parent.children = referencesOf(parent, outerIds);
}

/// As the parent's own item has them, while they say the same.
QVariantList CompiledItems::referencesOf(const Pending &parent, const QList<QUuid> &children) const
{
    const QStringList &own = parent.ownReferences;
    const auto means = [this](const QString &reference, const QUuid &id) {
        const QString word = reference.startsWith(u'@') ? reference.mid(1) : reference;
        return QUuid::fromString(word) == id || word == pending(id).item.name;
    };
    if (std::equal(own.cbegin(), own.cend(), children.cbegin(), children.cend(), means))
        return QVariant(own).toList();
    QVariantList references;
    references.reserve(children.size());
    for (const QUuid &id : children)
        references.append(referenceTo(pending(id).item));
    return references;
}

/// By the name, unless that is none or leads to another item.
QString CompiledItems::referenceTo(const Instance &item) const
{
    const auto namesakes = m_ownNames.constFind(item.name);
    if (namesakes == m_ownNames.cend())
        return u'@' + item.name;
    const QUuid holder = m_document.instanceIdByName(item.name);
    const bool isAmbiguous =
        item.name.isEmpty() || *namesakes > 1 ||
        (!holder.isNull() && !m_replaced.contains(holder) && holder != item.id);
    return u'@' + (isAmbiguous ? item.id.toString(QUuid::WithoutBraces) : item.name);
}

void CompiledItems::store()
{
    QList<SceneItem> items;
    items.reserve(qsizetype(m_items.size()));
    std::vector<CompileMemory::Item> changed;
    for (Pending &made : m_items) {
        const QString parent = made.provenance.parentCompiledId;
        if (made.known && made.known->parent == parent && made.known->children == made.children)
            continue;
        complete(made);
        items.append(made.item);
        changed.push_back({made.item, parent, made.children});
    }
    QSet<QUuid> gone;
    for (const QUuid &id : m_replaced) {
        if (!m_indices.contains(id))
            gone.insert(id);
    }
    m_document.exchangeItems(gone, items);
    for (const CompileMemory::Item &item : changed)
        m_memory.items.insert(item.item.id, item);
    m_memory.nodes.insert(m_made);
    forgetGone(gone);
}

/// An item that is kept, but not its links, brings all else along.
void CompiledItems::complete(Pending &made)
{
    if (made.known) {
        const QString parent = made.provenance.parentCompiledId;
        if (!made.isOwn)
            made.provenance = made.item.provenance();
        made.provenance.parentCompiledId = parent;
        made.params = made.item.rawParams();
        made.params.remove(u"children"_s);
    }
    if (!made.children.isEmpty())
        made.params.insert(u"children"_s,
                           QVariant::fromValue(ParameterValue::fromLiteral(made.children)));
    if (!made.isOwn || !made.params.isEmpty())
        made.item.setRawParams(made.params);
    if (!made.isOwn)
        made.item.setProvenance(made.provenance);
}

bool CompiledItems::takeShortName(const QUuid &nodeId)
{
    QUuid &holder = m_shortNames[nodeId.data1];
    if (holder.isNull())
        holder = nodeId;
    return holder == nodeId;
}

QString CompiledItems::nameFor(const QUuid &nodeId, const QString &suffix, bool isCore)
{
    const QString whole = nodeId.toString(QUuid::WithoutBraces);
    const bool hasShortName = takeShortName(nodeId);
    QString name = namePrefix + whole.first(nameDigits) + u'_' + suffix;
    // Nothing keeps a file from having a wrapper called "core".
    const bool isPlain = isCore || suffix != coreSuffix;
    if (isPlain && hasShortName && !m_takenNames.contains(name))
        return name;
    const QString longName = namePrefix + whole + u'_' + suffix;
    name = longName;
    for (int count = 2; m_takenNames.contains(name); ++count)
        name = longName + u'_' + QString::number(count);
    m_takenNames.insert(name);
    return name;
}

QUuid CompiledItems::itemId(const QUuid &nodeId, const QString &wrapperId)
{
    static const QUuid coreMask = maskOf({});
    return combined(nodeId, wrapperId.isEmpty() ? coreMask : maskOf(wrapperId));
}

/// Of the core for an empty wrapper.
QUuid CompiledItems::wrapperItemId(const QUuid &nodeId, const QString &wrapperId)
{
    auto mask = m_masks.constFind(wrapperId);
    if (mask == m_masks.cend())
        mask = m_masks.insert(wrapperId, maskOf(wrapperId));
    return combined(nodeId, *mask);
}

} // namespace corvane::model
