// From items back to nodes.
//
// A compile chains the items of a node: wrapper around wrapper around core. To undo it, each item
// that says "core" takes those around it that name the same node, from the inside out, as long as
// one alone lists the one before. That finds what looks like a node; whether it is one shows when
// the nodes are compiled again: where another item comes out than there was - edited by hand, cut
// off, of a component - each of its items becomes a node of its own, which can't differ. So two
// rounds are enough, and all is linear but the sorting of maps.
//
// References between items form a graph without circles once those that lead to one are left out.
// Below the first operator that lists it each item has its place; a graph without circles then
// gives a tree.
#include <corvane/compile/ItemsToNodes.h>

#include <corvane/compile/CompiledItems.h>
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/ItemComparison.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/NodeCompilation.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/TransformPart.h>
#include <corvane/registry/Registry.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

using Role = SDFNodeProvenance::Role;

const QString childrenKey = QStringLiteral("children");
const QString paramsKey = QStringLiteral("params");
constexpr auto compiledPrefix = "__c_"_L1;

// ------------------------------------------------------------------ from an item to a node

/// What of a wrapper's parameters its node has to say: not what the definition or the node's
/// transform says anyway.
QVariantMap ownValues(const Instance &wrapper)
{
    const QString wrapperId = wrapper.definitionId();
    const auto definition = registry::Registry::instance().getDefinition(wrapperId);
    const QVariantMap defaults = definition ? definition->getDefaultParameters() : QVariantMap();
    QVariantMap values = wrapper.rawParams();
    values.remove(childrenKey);
    const QString connected = connectedParameter(wrapperId);
    if (!ParameterValue::fromVariant(values.value(connected)).isExpression())
        values.remove(connected);
    values.removeIf([&defaults](QVariantMap::iterator value) {
        const auto preset = defaults.constFind(value.key());
        return preset != defaults.cend() &&
               isSameValue(parameterForFile(*value), parameterForFile(*preset));
    });
    return values;
}

void takeTransform(const Instance &wrapper, LogicalInstance &node)
{
    const QString wrapperId = wrapper.definitionId();
    const QVariant value = wrapper.parameter(connectedParameter(wrapperId));
    const std::size_t part = transformPartOf(wrapperId);
    const auto triple = readFloats<3>(value);
    const auto single = readFloat(value);
    if (part == transformParts.size() ||
        !(transformParts[part].isUniform ? single.has_value() : triple.has_value()))
        return;
    node.*transformField<LogicalInstance>(part) =
        transformParts[part].isUniform ? QVector3D(*single, *single, *single)
                                       : QVector3D(triple->at(0), triple->at(1), triple->at(2));
}

/// Modifiers that the item says although they are at their default; the others are the node's.
void keepDefaultModifiers(QVariantMap &map, const LogicalInstance &node)
{
    for (const NodeModifier &modifier : nodeModifiers) {
        if (!modifier.isSame(node.modifiers, {}))
            map.remove(modifier.key);
    }
}

/// What an item has that no field of its node says.
QVariantMap ownItemOf(const Instance &item, const LogicalInstance &node)
{
    QVariantMap map = item.toVariantMap();
    for (const auto key : {"id"_L1, "tags"_L1, "material"_L1, "materialId"_L1, "type"_L1})
        map.remove(key);
    if (map.value(paramsKey).typeId() == QMetaType::QVariantMap)
        map.remove(paramsKey);
    if (item.name == node.name)
        map.remove(u"name"_s);
    // Hidden, a node would leave the document; the item is drawn all the same.
    QVariantList tags;
    for (const QString &tag : {ItemTags::Compiled, ItemTags::Hidden}) {
        if (item.hasTag(tag))
            tags.append(tag);
    }
    if (!tags.isEmpty())
        map.insert(u"tags"_s, tags);
    keepDefaultModifiers(map, node);
    return map;
}

// ------------------------------------------------------------------ names in expressions

bool namesCompiledItem(const QVariantMap &params)
{
    return std::any_of(params.cbegin(), params.cend(), [](const QVariant &stored) {
        const auto value = ParameterValue::fromVariant(stored);
        return value.isExpression() && value.expression.contains(compiledPrefix);
    });
}

bool namesCompiledItem(const VarsetEntries &entries)
{
    return std::any_of(entries.cbegin(), entries.cend(), [](const VarsetEntry &entry) {
        return entry.expression.contains(compiledPrefix);
    });
}

/// An expression may read parameters by the names of items, which nodes do not have.
bool readsCompiledItems(const Corvane &document)
{
    const auto items = document.items();
    const auto varsets = document.namedVarsets();
    return namesCompiledItem(document.varsetEntries()) ||
           std::any_of(varsets.cbegin(), varsets.cend(),
                       [](const VarsetEntries &entries) { return namesCompiledItem(entries); }) ||
           std::any_of(items.cbegin(), items.cend(), [](const SceneItem &item) {
               return item.itemType == ItemTypes::Sdf &&
                      namesCompiledItem(Instance(item).rawParams());
           });
}

// ------------------------------------------------------------------ all items

/// An item of the field, and its place in the graph.
struct Entry
{
    Instance item{QString()};
    SDFNodeProvenance from{}; ///< of what has the tag "compiled"
    QList<QUuid> children{};  ///< that it lists, in order
    QList<QUuid> users{};     ///< that list it, once for each time
    bool isRoot = false;
    bool stays = false; ///< an item

    QUuid nodeId{}; ///< the node that it is the core of, or that it is around
    bool isWrapper = false;
    bool isGivenUp = false;  ///< a compile would make another item of its node
    QList<QUuid> wrappers{}; ///< of a core, outermost first
    QUuid outerId() const { return wrappers.isEmpty() ? item.id : wrappers.first(); }
};

class Conversion
{
public:
    explicit Conversion(Corvane &document)
        : m_document(document)
        , m_namesAreRead(readsCompiledItems(document))
    {
        collect();
        findWhatStays();
    }

    bool isEmpty() const
    {
        return std::all_of(m_entries.cbegin(), m_entries.cend(),
                           [](const Entry &entry) { return entry.stays; });
    }
    QList<SceneWarning> reasons() const { return m_reasons; }

    /// Fills the tree, and a second time where nodes of an earlier compile are none any more.
    void fill(LogicalScene &tree)
    {
        findNodes();
        place(tree);
        if (!giveUpChanged(tree))
            return;
        findNodes();
        place(tree);
    }

    void takeFromDocument()
    {
        QSet<QUuid> taken;
        QList<QUuid> roots = m_document.roots();
        for (const Entry &entry : std::as_const(m_entries)) {
            if (!entry.stays)
                taken.insert(entry.item.id);
        }
        roots.removeIf([&taken](const QUuid &id) { return taken.contains(id); });
        // Or the document would have to copy all that it shares with these.
        m_entries.clear();
        m_document.exchangeItems(taken, {});
        m_document.setRoots(roots);
    }

private:
    using Entries = QMap<QUuid, Entry>;

    void collect();
    void findWhatStays();
    QSet<QUuid> itemsInCircles() const;
    void spread(QList<QUuid> open);
    bool isCoreOfCompile(const Entry &entry) const;
    void findNodes();
    void takeWrappers(Entry &core);
    bool isWrapperOf(const Entry &entry, const Entry &core) const;
    bool giveUpChanged(LogicalScene &tree);
    void giveUp(Entry &core);
    QString shownName(const Entry &core) const;
    LogicalInstance nodeOf(const Entry &core) const;
    QStringList unusualReferences(const Entry &core) const;
    void place(LogicalScene &tree);
    QUuid placeOf(const QUuid &outerId, const QString &where, QList<LogicalInstance> &references);

    Corvane &m_document;
    const bool m_namesAreRead;
    Entries m_entries;
    QList<SceneWarning> m_reasons;
    QHash<QUuid, QUuid> m_coreOfOuter; ///< by what stands for it in the lists of others
    QSet<QUuid> m_placed;              ///< nodes
    bool m_hasCompiled = false;        ///< there are nodes that a compile has to confirm
};

void Conversion::collect()
{
    const auto items = m_document.items();
    const QList<QUuid> roots = m_document.roots();
    const QSet<QUuid> drawn(roots.cbegin(), roots.cend());
    for (const SceneItem &item : items) {
        if (item.itemType != ItemTypes::Sdf)
            continue;
        Entry entry{.item = Instance(item)};
        entry.isRoot = m_document.drawsAllItems() || drawn.contains(item.id);
        if (item.hasTag(ItemTags::Compiled))
            entry.from = entry.item.provenance();
        entry.children = m_document.childInstanceIds(item.id);
        m_entries.insert(m_entries.cend(), item.id, entry);
    }
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        entry->children.removeIf([this](const QUuid &id) { return !m_entries.contains(id); });
        for (const QUuid &child : std::as_const(entry->children))
            m_entries.find(child)->users.append(entry.key());
    }
}

void Conversion::findWhatStays()
{
    QList<QUuid> staying;
    const auto stay = [&](const Entry &entry, const QString &what, const QString &remedy) {
        constexpr qsizetype maxReasons = 100;
        const QString name = entry.item.name.isEmpty()
                                 ? entry.item.id.toString(QUuid::WithoutBraces)
                                 : entry.item.name;
        staying.append(entry.item.id);
        if (m_reasons.size() < maxReasons)
            m_reasons.append({.where = name, .what = what, .remedy = remedy});
    };
    const QSet<QUuid> circles = itemsInCircles();
    for (const Entry &entry : std::as_const(m_entries)) {
        if (circles.contains(entry.item.id))
            stay(entry, u"it is part of itself, so that plans can't place it"_s,
                 u"Take it out of its own children"_s);
        else if (entry.item.parameterValue(childrenKey).isExpression())
            stay(entry, u"its children are an expression, so that plans can't place it"_s,
                 u"List them by their names"_s);
    }
    spread(staying);
}

/// What is left when those without children are taken away until there are none, and then those
/// without users.
QSet<QUuid> Conversion::itemsInCircles() const
{
    QHash<QUuid, qsizetype> children, users;
    QList<QUuid> leaves, tops;
    for (const Entry &entry : m_entries) {
        children.insert(entry.item.id, entry.children.size());
        if (entry.children.isEmpty())
            leaves.append(entry.item.id);
    }
    while (!leaves.isEmpty()) {
        const QUuid id = leaves.takeLast();
        children.remove(id);
        for (const QUuid &user : m_entries.constFind(id)->users) {
            if (--children[user] == 0)
                leaves.append(user);
        }
    }
    for (auto it = children.keyBegin(); it != children.keyEnd(); ++it) {
        const QList<QUuid> &all = m_entries.constFind(*it)->users;
        const auto isLeft = [&children](const QUuid &user) { return children.contains(user); };
        users.insert(*it, std::count_if(all.cbegin(), all.cend(), isLeft));
        if (users.value(*it) == 0)
            tops.append(*it);
    }
    while (!tops.isEmpty()) {
        const QUuid id = tops.takeLast();
        users.remove(id);
        for (const QUuid &child : m_entries.constFind(id)->children) {
            if (users.contains(child) && --users[child] == 0)
                tops.append(child);
        }
    }
    return QSet<QUuid>(users.keyBegin(), users.keyEnd());
}

/// A tree can't hold a part of an expression alone.
void Conversion::spread(QList<QUuid> open)
{
    while (!open.isEmpty()) {
        Entry &entry = *m_entries.find(open.takeLast());
        if (std::exchange(entry.stays, true))
            continue;
        open += entry.children;
        open += entry.users;
    }
}

/// Another item may have the node's id by now.
bool Conversion::isCoreOfCompile(const Entry &entry) const
{
    return entry.from.role == Role::Core && !entry.from.sourceItemId.isNull() && !m_namesAreRead &&
           !entry.isGivenUp && !m_entries.contains(entry.from.sourceItemId) &&
           entry.item.id == CompiledItems::itemId(entry.from.sourceItemId, {});
}

void Conversion::findNodes()
{
    m_hasCompiled = false;
    m_coreOfOuter.clear();
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        entry->isWrapper = false;
        entry->wrappers.clear();
        entry->nodeId = isCoreOfCompile(*entry) ? entry->from.sourceItemId : entry.key();
    }
    for (Entry &entry : m_entries) {
        const bool canHaveWrappers =
            !entry.stays && !entry.isGivenUp && !m_namesAreRead &&
            (entry.from.role == Role::Core || !entry.item.hasTag(ItemTags::Compiled));
        if (canHaveWrappers)
            takeWrappers(entry);
        m_hasCompiled = m_hasCompiled || !entry.wrappers.isEmpty() || entry.nodeId != entry.item.id;
    }
    for (const Entry &entry : std::as_const(m_entries)) {
        if (!entry.stays && !entry.isWrapper)
            m_coreOfOuter.insert(entry.outerId(), entry.item.id);
    }
}

void Conversion::takeWrappers(Entry &core)
{
    QUuid outer = core.item.id;
    while (true) {
        const Entry &around = *m_entries.constFind(outer);
        if (around.isRoot || around.users.size() != 1)
            return;
        Entry &wrapper = *m_entries.find(around.users.first());
        if (!isWrapperOf(wrapper, core))
            return;
        wrapper.isWrapper = true;
        wrapper.nodeId = core.nodeId;
        outer = wrapper.item.id;
        core.wrappers.prepend(outer);
    }
}

bool Conversion::isWrapperOf(const Entry &entry, const Entry &core) const
{
    return entry.from.sourceItemId == core.nodeId && entry.from.role != Role::Core &&
           !entry.isGivenUp && entry.children.size() == 1 &&
           entry.item.id == CompiledItems::itemId(core.nodeId, entry.item.definitionId()) &&
           !core.wrappers.contains(entry.item.id);
}

/// Whether there were any.
bool Conversion::giveUpChanged(LogicalScene &tree)
{
    if (!m_hasCompiled)
        return false;
    Corvane compiled;
    const auto materials = m_document.materials();
    for (const CatalogMaterial &material : materials)
        compiled.addMaterial(material);
    LogicalSceneCompiler compiler;
    compiler.setSource(&tree);
    compiler.setTarget(&compiled);
    compiler.fullCompile();
    const auto items = compiled.items();
    const auto isSame = [&](const QUuid &id) {
        const auto made = items.constFind(id);
        return made != items.cend() && isSameItem(Instance(*made), m_entries.constFind(id)->item);
    };
    bool areChanged = false;
    for (Entry &entry : m_entries) {
        const bool isOfCompile = !entry.wrappers.isEmpty() || entry.nodeId != entry.item.id;
        if (entry.stays || entry.isWrapper || !isOfCompile ||
            (isSame(entry.item.id) &&
             std::all_of(entry.wrappers.cbegin(), entry.wrappers.cend(), isSame)))
            continue;
        giveUp(entry);
        areChanged = true;
    }
    return areChanged;
}

void Conversion::giveUp(Entry &core)
{
    core.isGivenUp = true;
    for (const QUuid &id : std::as_const(core.wrappers))
        m_entries.find(id)->isGivenUp = true;
}

/// What was compiled is known by the name of its node, unless expressions read it by its own.
QString Conversion::shownName(const Entry &core) const
{
    const bool isNamed = core.from.role == Role::Core && !core.from.sourceItemName.isEmpty();
    return isNamed && !m_namesAreRead ? core.from.sourceItemName : core.item.name;
}

LogicalInstance Conversion::nodeOf(const Entry &core) const
{
    const Instance &item = core.item;
    LogicalInstance node(core.nodeId);
    node.definitionId = item.definitionId();
    node.params = item.rawParams();
    node.params.remove(childrenKey);
    for (const QUuid &id : core.wrappers) {
        const Instance &wrapper = m_entries.constFind(id)->item;
        node.wrappers.append({wrapper.definitionId(), ownValues(wrapper)});
        takeTransform(wrapper, node);
    }
    node.material = item.material;
    node.materialId = item.materialId;
    node.modifiers = item.modifiers();
    node.tags = item.tags - QSet<QString>{ItemTags::Compiled, ItemTags::Selected};
    if (m_entries.constFind(core.outerId())->item.hasTag(ItemTags::Selected))
        node.tags.insert(ItemTags::Selected);
    if (isCoreOfCompile(core)) {
        node.name = core.from.sourceItemName;
        node.tags.remove(ItemTags::Hovered);
        return node;
    }
    node.name = shownName(core);
    node.ownItem = ownItemOf(item, node);
    node.tags.remove(ItemTags::Hidden);
    const QStringList references = unusualReferences(core);
    if (!references.isEmpty())
        node.ownItem.insert(childrenKey, references);
    return node;
}

/// The references of an item where they are not "@" and a name each.
QStringList Conversion::unusualReferences(const Entry &core) const
{
    const QStringList references = core.item.childReferences();
    const auto isUsual = [this](const QString &reference, const QUuid &child) {
        return reference.startsWith(u'@') &&
               QStringView(reference).mid(1) == m_entries.constFind(child)->item.name;
    };
    const bool areUsual = std::equal(references.cbegin(), references.cend(), core.children.cbegin(),
                                     core.children.cend(), isUsual);
    return areUsual ? QStringList() : references;
}

void Conversion::place(LogicalScene &tree)
{
    m_placed.clear();
    QList<LogicalInstance> nodes;
    QList<LogicalInstance> references;
    nodes.reserve(m_coreOfOuter.size());
    for (const Entry &entry : std::as_const(m_entries)) {
        if (entry.stays || entry.isWrapper)
            continue;
        nodes.append(nodeOf(entry));
        for (const QUuid &child : entry.children)
            nodes.last().children.append(placeOf(
                child, nodes.last().id.toString() + QString::number(nodes.last().children.size()),
                references));
    }
    QList<QUuid> roots = m_document.drawsAllItems() ? m_entries.keys() : m_document.roots();
    roots.removeIf([this](const QUuid &id) { return !m_coreOfOuter.contains(id); });
    for (QUuid &root : roots)
        root = placeOf(root, root.toString(), references);
    tree.setNodes(nodes + references, roots);
}

/// The node itself in its first place, a reference in any other.
QUuid Conversion::placeOf(const QUuid &outerId, const QString &where,
                          QList<LogicalInstance> &references)
{
    static const QUuid space(u"{5b5f9a0f-6f0d-4f7c-8e0a-1a2f5a3c7d41}"_s);
    const QUuid id = m_entries.constFind(m_coreOfOuter.value(outerId))->nodeId;
    if (!m_placed.contains(id)) {
        m_placed.insert(id);
        return id;
    }
    LogicalInstance reference(QUuid::createUuidV5(space, where));
    reference.original = id;
    references.append(reference);
    return reference.id;
}

} // namespace

QList<SceneWarning> itemsToNodes(Corvane &document, LogicalScene &tree)
{
    Conversion conversion(document);
    if (conversion.isEmpty())
        return conversion.reasons();
    conversion.fill(tree);
    conversion.takeFromDocument();
    return conversion.reasons();
}

} // namespace corvane::model
