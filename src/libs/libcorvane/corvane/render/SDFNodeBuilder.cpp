#include <corvane/render/SDFNodeBuilder.h>

#include <corvane/model/Corvane.h>
#include <corvane/render/GroupTransforms.h>
#include <corvane/render/SDFNodePacker.h>
#include <corvane/shader/SDFShaderGenerator.h>

#include <QLoggingCategory>
#include <QSet>
#include <deque>

namespace corvane::render {

using namespace Qt::StringLiterals;
using shader::SDFNode;

Q_LOGGING_CATEGORY(lcFlatten, "ondrel.render.flatten", QtWarningMsg)

struct SDFNodeBuilder::Settings
{
    QLatin1String logName;
    bool groupTransforms = false;
    bool dropProxied = false;
};

/// One build. Each instance is packed once, as the pattern of its nodes; the walk over the graph
/// then only copies records and links them.
class SDFNodeBuilder::Flattening
{
public:
    Flattening(SDFNodeBuilder &builder, const model::Corvane &scene, const Settings &settings)
        : m_builder(builder)
        , m_scene(scene)
        , m_settings(settings)
        , m_items(scene.items())
        , m_transforms(scene)
    {}

    /// False when the limit was passed.
    bool addRoot(const QUuid &id, int &previousRoot)
    {
        const int pattern = patternOf(id);
        if (pattern == noPattern)
            return true;
        const int root = enter(pattern, -1);
        if (root < 0)
            return false;
        if (previousRoot >= 0)
            m_builder.m_nodes[previousRoot].nextSibling = root;
        previousRoot = root;
        return descend();
    }

private:
    static constexpr int noPattern = -1;
    /// References that go back to an ancestor make no node, but following them takes time too.
    static constexpr int cutLimit = 16 * nodeLimit;

    struct Pattern
    {
        QUuid id;
        SDFNode node;
        QStringList references; ///< of children that are not looked up yet
        QList<int> children;    ///< patterns
        bool onPath = false;
    };

    /// A node whose children are being added.
    struct Frame
    {
        int pattern = 0;
        int node = 0;
        int lastChild = -1;
        qsizetype nextChild = 0;
    };

    int patternOf(const QUuid &id)
    {
        const auto known = m_patternById.constFind(id);
        if (known != m_patternById.cend())
            return *known;
        const int pattern = makePattern(id);
        m_patternById.insert(id, pattern);
        return pattern;
    }

    int makePattern(const QUuid &id)
    {
        const auto item = m_items.constFind(id);
        if (item == m_items.cend() || item->itemType != model::ItemTypes::Sdf ||
            (m_settings.dropProxied && isProxied(*item)))
            return noPattern;
        const model::Instance instance(*item);
        const auto &facts = factsOf(instance.definitionId());
        Pattern &pattern = m_patterns.emplace_back();
        pattern.id = id;
        SDFNodePacker::pack(pattern.node, instance, m_scene, facts);
        if (facts.type != shader::GpuNodeType::Primitive)
            pattern.references = instance.childReferences();
        if (m_settings.groupTransforms && !instance.parentId.isNull())
            pattern.node.setTransform(m_transforms.below(instance.parentId));
        return static_cast<int>(m_patterns.size()) - 1;
    }

    bool isProxied(const model::SceneItem &item) const
    {
        return item.hasTag(model::ItemTags::Proxied) ||
               (!item.parentId.isNull() && m_scene.isProxied(item.parentId));
    }

    const SDFNodePacker::DefinitionFacts &factsOf(const QString &definitionId)
    {
        const auto known = m_facts.find(definitionId);
        if (known != m_facts.end())
            return *known;
        const auto facts = SDFNodePacker::definitionFacts(definitionId, *m_builder.m_generator);
        if (!facts.known) {
            qCWarning(lcFlatten).noquote()
                << m_settings.logName + ": Unknown node type for"_L1 << definitionId;
        }
        return *m_facts.insert(definitionId, facts);
    }

    const QList<int> &childrenOf(int number)
    {
        Pattern &pattern = m_patterns[static_cast<std::size_t>(number)];
        const QStringList references = std::exchange(pattern.references, {});
        for (const QString &reference : references) {
            const int child = patternOf(referredId(reference));
            if (child != noPattern)
                pattern.children.append(child);
        }
        return pattern.children;
    }

    /// "@" and a name or an id, or a bare id. It may name nothing; the pattern's lookup will tell.
    QUuid referredId(const QString &reference) const
    {
        if (!reference.startsWith(u'@'))
            return QUuid::fromString(reference);
        const QString name = reference.mid(1);
        const QUuid named = m_scene.instanceIdByName(name);
        return named.isNull() ? QUuid::fromString(name) : named;
    }

    /// Appends a node of the pattern. -1 past the limit.
    int enter(int number, int parent)
    {
        if (m_builder.m_nodes.size() >= nodeLimit)
            return -1;
        Pattern &pattern = m_patterns[static_cast<std::size_t>(number)];
        const int node = static_cast<int>(m_builder.m_nodes.size());
        m_builder.m_nodes.append(pattern.node);
        m_builder.m_nodes.last().parentIndex = parent;
        m_builder.m_itemIds.append(pattern.id);
        pattern.onPath = true;
        m_path.append({.pattern = number, .node = node});
        return node;
    }

    bool descend()
    {
        while (!m_path.isEmpty()) {
            const QList<int> &children = childrenOf(m_path.last().pattern);
            Frame &frame = m_path.last();
            if (frame.nextChild < children.size()) {
                if (!addChild(frame, children.at(frame.nextChild++)))
                    return false;
            } else {
                m_patterns[static_cast<std::size_t>(frame.pattern)].onPath = false;
                m_path.removeLast();
            }
        }
        return true;
    }

    bool addChild(Frame &frame, int child)
    {
        const Pattern &pattern = m_patterns[static_cast<std::size_t>(child)];
        if (pattern.onPath) {
            reportCycle(pattern.id);
            return ++m_cuts < cutLimit;
        }
        const int parent = frame.node;
        const int previous = frame.lastChild;
        frame.lastChild = static_cast<int>(m_builder.m_nodes.size());
        const int node = enter(child, parent); // from here on `frame` may have moved
        if (node < 0)
            return false;
        ++m_builder.m_nodes[parent].childCount;
        if (previous < 0)
            m_builder.m_nodes[parent].firstChild = node;
        else
            m_builder.m_nodes[previous].nextSibling = node;
        return true;
    }

    void reportCycle(const QUuid &id)
    {
        if (m_reportedCycles.contains(id))
            return;
        m_reportedCycles.insert(id);
        qCWarning(lcFlatten).noquote()
            << m_settings.logName + ": Circular reference detected for"_L1 << id.toString();
    }

    SDFNodeBuilder &m_builder;
    const model::Corvane &m_scene;
    const Settings &m_settings;
    const QMap<QUuid, model::SceneItem> m_items;
    GroupTransforms m_transforms;
    QHash<QUuid, int> m_patternById;
    std::deque<Pattern> m_patterns; ///< references stay good while it grows
    QHash<QString, SDFNodePacker::DefinitionFacts> m_facts;
    QList<Frame> m_path;
    QSet<QUuid> m_reportedCycles;
    int m_cuts = 0;
};

namespace {

/// The items that none of the others lists as a child.
QList<QUuid> unlistedItems(const model::Corvane &scene, const QList<QUuid> &items)
{
    QSet<QUuid> listed;
    for (const QUuid &item : items) {
        const QList<QUuid> children = scene.childInstanceIds(item);
        for (const QUuid &child : children) {
            if (child != item)
                listed.insert(child);
        }
    }
    QList<QUuid> unlisted;
    for (const QUuid &item : items) {
        if (!listed.contains(item))
            unlisted.append(item);
    }
    return unlisted;
}

QList<QUuid> rootCandidates(const model::Corvane &scene)
{
    return scene.drawsAllItems() ? scene.items().keys() : scene.roots();
}

} // namespace

SDFNodeBuilder::SDFNodeBuilder(const shader::SDFShaderGenerator *generator)
    : m_generator(generator)
{}

int SDFNodeBuilder::buildFromDomain(const model::Corvane *scene, const QUuid &domainId)
{
    return buildFromItems(scene, scene ? scene->sdfItemsInDomain(domainId) : QList<QUuid>());
}

int SDFNodeBuilder::buildFromItems(const model::Corvane *scene, const QList<QUuid> &items)
{
    clear();
    if (!scene || !m_generator)
        return -1;
    QList<QUuid> own = items;
    own.removeIf([scene](const QUuid &id) { return scene->isProxied(id); });
    if (own.isEmpty())
        return -1;

    const QSet<QUuid> inDomain(own.cbegin(), own.cend());
    QList<QUuid> roots = rootCandidates(*scene);
    if (roots.isEmpty())
        return -1; // every root of the file named nothing: an empty picture
    roots.removeIf([&inDomain](const QUuid &id) { return !inDomain.contains(id); });
    if (roots.isEmpty())
        roots = unlistedItems(*scene, own);
    return build(*scene, roots, {.logName = "SDFNodeBuilder"_L1, .groupTransforms = true});
}

int SDFNodeBuilder::buildWithoutDomains(const model::Corvane *scene)
{
    clear();
    if (!scene || !m_generator)
        return -1;
    return build(*scene, rootCandidates(*scene), {.logName = "SDFLayer"_L1, .dropProxied = true});
}

QString SDFNodeBuilder::tooManyNodesError()
{
    return u"scene expands to more than %1 nodes: an item that several others list as a child "
           u"becomes a "
           "node in each of these places"_s.arg(nodeLimit);
}

void SDFNodeBuilder::clear()
{
    m_nodes.clear();
    m_itemIds.clear();
    m_nodeIndexById.clear();
    m_error.clear();
}

int SDFNodeBuilder::build(const model::Corvane &scene, const QList<QUuid> &roots,
                          const Settings &settings)
{
    Flattening flattening(*this, scene, settings);
    int previousRoot = -1;
    for (const QUuid &root : roots) {
        if (!flattening.addRoot(root, previousRoot)) {
            clear();
            m_error = tooManyNodesError();
            return -1;
        }
    }
    m_nodeIndexById.reserve(m_nodes.size());
    for (qsizetype i = m_nodes.size() - 1; i >= 0;
         --i) // backwards: the first node of an item stays
        m_nodeIndexById.insert(m_itemIds.at(i), static_cast<int>(i));
    return m_nodes.isEmpty() ? -1 : 0;
}

} // namespace corvane::render
