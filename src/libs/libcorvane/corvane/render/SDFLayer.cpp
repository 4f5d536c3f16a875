#include <corvane/render/SDFLayer.h>

#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFNodeBuilder.h>
#include <corvane/render/SDFNodePacker.h>

#include <QLoggingCategory>

namespace corvane::render {

using namespace Qt::StringLiterals;
using shader::GpuNodeType;
using shader::SDFNode;

Q_LOGGING_CATEGORY(lcLayer, "ondrel.render.sdflayer", QtWarningMsg)

namespace {

constexpr std::uint32_t unionCode = 0;
constexpr std::uint32_t intersectionCode = 2;
constexpr shader::SDFMaterial exportVolumeMaterial{
    .albedo = {0.85f, 0.15f, 0.1f, 1.0f}, .metallic = 0.0f, .roughness = 0.6f, .emission = 0.15f};

/// Moves the links of a node list that is appended behind `offset` others.
void shiftLinks(SDFNode &node, int offset)
{
    for (std::int32_t *link : {&node.firstChild, &node.nextSibling, &node.parentIndex}) {
        if (*link >= 0)
            *link += offset;
    }
}

int lastSibling(const QList<SDFNode> &nodes, int index)
{
    while (nodes.at(index).nextSibling >= 0)
        index = nodes.at(index).nextSibling;
    return index;
}

/// The items of the field by their domain, each item looked at once.
QHash<QUuid, QList<QUuid>> itemsByDomain(const model::Corvane &scene)
{
    QHash<QUuid, QList<QUuid>> byDomain;
    const auto items = scene.items();
    for (auto item = items.cbegin(); item != items.cend(); ++item) {
        if (item->itemType == model::ItemTypes::Sdf)
            byDomain[scene.domainForItem(item.key())].append(item.key());
    }
    return byDomain;
}

} // namespace

SDFLayer::SDFLayer(QObject *parent)
    : SDFLayer(&registry::Registry::instance(), parent)
{}

SDFLayer::SDFLayer(registry::Registry *registry, QObject *parent)
    : QObject(parent)
    , m_registry(registry)
    , m_generator(registry)
{
    m_generator.setActiveDefinitionIds({}); // a shader before the first scene is one of nothing
    if (!m_registry)
        return;
    using registry::Registry;
    connect(m_registry, &Registry::primitiveRegistered, this, &SDFLayer::onRegistryChanged);
    connect(m_registry, &Registry::primitiveUnregistered, this, &SDFLayer::onRegistryChanged);
    connect(m_registry, &Registry::registryReset, this, &SDFLayer::onRegistryChanged);
}

SDFLayer::~SDFLayer() = default;

model::Corvane *SDFLayer::scene() const
{
    return m_scene;
}

void SDFLayer::setScene(model::Corvane *scene)
{
    if (m_scene)
        disconnect(m_scene, nullptr, this, nullptr);
    m_scene = scene;
    if (scene) {
        using model::Corvane;
        connect(scene, &Corvane::sceneChanged, this, &SDFLayer::onSceneChanged);
        connect(scene, &Corvane::instanceAdded, this, &SDFLayer::requestSyncCoalesced);
        connect(scene, &Corvane::instanceRemoved, this, &SDFLayer::requestSyncCoalesced);
        connect(scene, &Corvane::instanceUpdated, this, &SDFLayer::updateInstanceParameters);
    }
    syncNodesFromDocument();
}

void SDFLayer::syncNodesFromDocument()
{
    if (std::exchange(m_indicesStale, false)) {
        m_generator.rebuildIndices();
        emit actionsRequested(RenderMasks::definitionsChanged);
    }
    buildNodeBuffer();
}

/// A setting, or a variable that no item reads, changes the scene but not the field.
void SDFLayer::onSceneChanged()
{
    if (m_builtItems != m_scene->itemsRevision() ||
        m_builtStructure != m_scene->structureRevision())
        requestSyncCoalesced();
}

void SDFLayer::requestSyncCoalesced()
{
    if (std::exchange(m_syncQueued, true))
        return;
    QMetaObject::invokeMethod(this, &SDFLayer::runCoalescedSync, Qt::QueuedConnection);
}

void SDFLayer::runCoalescedSync()
{
    m_syncQueued = false;
    syncNodesFromDocument();
    emit actionsRequested(RenderMasks::sceneStructureChanged);
}

void SDFLayer::onRegistryChanged()
{
    m_indicesStale = true;
    requestSyncCoalesced();
}

void SDFLayer::updateInstanceParameters(const QUuid &id)
{
    const int first = nodeIndexForItem(id);
    if (!m_scene || m_indicesStale || first < 0)
        return requestSyncCoalesced();
    const model::Instance instance = m_scene->instance(id);
    const auto facts = SDFNodePacker::definitionFacts(instance.definitionId(), m_generator);
    if (!SDFNodePacker::isOfDefinition(m_nodes.at(first), facts))
        return requestSyncCoalesced();
    // When other items changed without a word, the next change of the scene has to find that out.
    if (m_scene->itemsRevision() == m_builtItems + 1)
        ++m_builtItems;

    // An instance that several others list has a node in each place.
    for (qsizetype i = first; i < m_nodes.size(); ++i) {
        if (m_itemIds.at(i) == id)
            SDFNodePacker::pack(m_nodes[i], instance, *m_scene, facts);
    }
    m_nodesDirty = true;
    emit actionsRequested(RenderMasks::sceneStructureChanged);
}

SDFLayer::FieldNodes SDFLayer::nodesAsOneField() const
{
    FieldNodes field{.nodes = m_nodes, .rootIndex = -1};
    int tail = -1;
    for (const DomainEntry &domain : m_domains) {
        if (tail < 0)
            field.rootIndex = domain.rootIndex;
        else
            field.nodes[tail].nextSibling = domain.rootIndex;
        tail = lastSibling(field.nodes, domain.rootIndex);
    }
    return field;
}

QUuid SDFLayer::itemIdForNodeIndex(uint index) const
{
    return index < static_cast<uint>(m_itemIds.size()) ? m_itemIds.at(index) : QUuid();
}

QSet<QString> SDFLayer::usedDefinitionIds(const QList<SDFNode> &nodes,
                                          const shader::SDFShaderGenerator &generator)
{
    QSet<QString> ids;
    QSet<quint64> seen;
    for (const SDFNode &node : nodes) {
        const quint64 key = quint64(node.nodeType) << 32 | node.definitionIndex;
        if (node.nodeType >= shader::gpuNodeTypeCount || seen.contains(key))
            continue;
        seen.insert(key);
        const QString id = generator.indices().idAt(node.type(), node.definitionIndex);
        if (!id.isEmpty())
            ids.insert(id);
    }
    return ids;
}

void SDFLayer::setExportVolumeEnabled(bool enabled)
{
    if (std::exchange(m_exportVolumeEnabled, enabled) != enabled)
        requestSyncCoalesced();
}

void SDFLayer::setExportVolumeBounds(const QVector3D &min, const QVector3D &max)
{
    m_exportMin = min;
    m_exportMax = max;
    if (m_exportVolumeEnabled)
        requestSyncCoalesced();
}

void SDFLayer::buildNodeBuffer()
{
    m_nodes.clear();
    m_itemIds.clear();
    m_nodeIndexById.clear();
    m_domains.clear();
    m_buildError.clear();
    if (m_scene) {
        m_builtItems = m_scene->itemsRevision();
        m_builtStructure = m_scene->structureRevision();
        SDFNodeBuilder builder(&m_generator);
        if (m_scene->hasItemsOfType(model::ItemTypes::SdfDomain))
            buildDomains(builder);
        else
            appendDomain(builder, QUuid(), builder.buildWithoutDomains(m_scene));
    }
    if (m_domains.isEmpty())
        qCInfo(lcLayer) << "SDFLayer::buildNodeBuffer: No root instances found";
    else if (m_exportVolumeEnabled && m_domains.size() == 1)
        injectExportVolume();
    publishNodes();
}

void SDFLayer::buildDomains(SDFNodeBuilder &builder)
{
    const auto byDomain = itemsByDomain(*m_scene);
    QList<QUuid> domains{QUuid()};
    const auto items = m_scene->items();
    for (auto item = items.cbegin(); item != items.cend(); ++item) {
        if (item->itemType == model::ItemTypes::SdfDomain)
            domains.append(item.key());
    }
    for (const QUuid &domain : std::as_const(domains)) {
        appendDomain(builder, domain, builder.buildFromItems(m_scene, byDomain.value(domain)));
        if (!m_buildError.isEmpty())
            return;
    }
}

void SDFLayer::appendDomain(const SDFNodeBuilder &builder, const QUuid &domainId, int rootIndex)
{
    const auto total = m_nodes.size() + builder.nodes().size();
    if (!builder.error().isEmpty() || total > SDFNodeBuilder::nodeLimit)
        return refuse(SDFNodeBuilder::tooManyNodesError());
    if (rootIndex < 0)
        return;
    const int offset = static_cast<int>(m_nodes.size());
    m_nodes.append(builder.nodes());
    m_itemIds.append(builder.itemIds());
    if (offset == 0) {
        m_nodeIndexById = builder.nodeIndexById();
    } else {
        std::for_each(m_nodes.begin() + offset, m_nodes.end(),
                      [offset](SDFNode &node) { shiftLinks(node, offset); });
        for (qsizetype i = m_itemIds.size() - 1; i >= offset; --i) {
            if (m_nodeIndexById.value(m_itemIds.at(i), offset) >= offset)
                m_nodeIndexById.insert(m_itemIds.at(i), static_cast<int>(i));
        }
    }
    m_domains.append({.domainId = domainId,
                      .rootIndex = rootIndex + offset,
                      .nodeCount = static_cast<int>(builder.nodes().size())});
}

void SDFLayer::refuse(const QString &error)
{
    m_nodes.clear();
    m_itemIds.clear();
    m_nodeIndexById.clear();
    m_domains.clear();
    m_buildError = error;
    qCWarning(lcLayer).noquote() << "SDFLayer::buildNodeBuffer:" << error;
}

/// The box cuts the union of all roots: intersected with it one by one, the chain would be what
/// they have in common.
void SDFLayer::injectExportVolume()
{
    const auto &indices = m_generator.indices();
    const int boxDefinition = indices.indexOf(GpuNodeType::Primitive, u"box"_s);
    const int intersectDefinition = indices.indexOf(GpuNodeType::CsgOp, u"intersect"_s);
    const int unionDefinition = indices.indexOf(GpuNodeType::CsgOp, u"union"_s);
    if (boxDefinition < 0 || intersectDefinition < 0 || unionDefinition < 0)
        return;
    DomainEntry &domain = m_domains.first();
    const qsizetype before = m_nodes.size();
    const bool hasSeveralRoots = m_nodes.at(domain.rootIndex).nextSibling >= 0;
    const int part = hasSeveralRoots ? appendOperator(unionDefinition, unionCode, domain.rootIndex)
                                     : domain.rootIndex;
    const int box = static_cast<int>(m_nodes.size());
    m_nodes.append(exportVolumeBox(static_cast<std::uint32_t>(boxDefinition)));
    m_nodes[part].nextSibling = box;
    domain.rootIndex = appendOperator(intersectDefinition, intersectionCode, part);
    domain.nodeCount += static_cast<int>(m_nodes.size() - before);
    m_itemIds.resize(m_nodes.size());
    qCInfo(lcLayer) << "SDFLayer::buildNodeBuffer: Injected export volume nodes";
}

/// Makes a chain of siblings the children of a new operator, and answers its index.
int SDFLayer::appendOperator(int definitionIndex, std::uint32_t operation, int firstChild)
{
    SDFNode node;
    node.nodeType = static_cast<std::uint32_t>(GpuNodeType::CsgOp);
    node.definitionIndex = static_cast<std::uint32_t>(definitionIndex);
    node.operationType = operation;
    node.firstChild = firstChild;
    const int index = static_cast<int>(m_nodes.size());
    for (int child = firstChild; child >= 0; child = m_nodes.at(child).nextSibling) {
        m_nodes[child].parentIndex = index;
        ++node.childCount;
    }
    m_nodes.append(node);
    return index;
}

SDFNode SDFLayer::exportVolumeBox(std::uint32_t definitionIndex) const
{
    const QVector3D half = (m_exportMax - m_exportMin) / 2.0f;
    QMatrix4x4 placement;
    placement.translate((m_exportMin + m_exportMax) / 2.0f);
    SDFNode box;
    box.definitionIndex = definitionIndex;
    box.params = {half.x(), half.y(), half.z(), 0.0f};
    box.setTransform(placement);
    box.material = exportVolumeMaterial;
    return box;
}

void SDFLayer::publishNodes()
{
    m_uniforms.nodeCount = static_cast<std::int32_t>(m_nodes.size());
    m_uniforms.rootNodeIndex = m_domains.isEmpty() ? 0 : m_domains.first().rootIndex;
    m_nodesDirty = true;
    if (m_nodes.isEmpty())
        return; // nothing is drawn: the shader in place will do for what comes next
    if (m_generator.setActiveDefinitionIds(usedDefinitionIds(m_nodes, m_generator)))
        emit actionsRequested(RenderMasks::definitionsChanged);
}

} // namespace corvane::render
