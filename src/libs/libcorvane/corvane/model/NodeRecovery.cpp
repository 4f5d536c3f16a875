#include <corvane/model/NodeRecovery.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/LogicalSceneCompiler.h>
#include <corvane/model/NodeCompilation.h>
#include <corvane/model/PlainValue.h>
#include <corvane/registry/Registry.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

const QString childrenKey = QStringLiteral("children");
const QString paramsKey = QStringLiteral("params");
const QString provenanceKey = QStringLiteral("__provenance");
constexpr auto compiledPrefix = "__c_"_L1;

/// The items of one node.
struct Group
{
    QUuid coreId{};
    QList<QUuid> wrappers{}; ///< outermost first
    QUuid outerId{};
    QList<QUuid> children{};    ///< of the core
    qsizetype wrapperCount = 0; ///< that name the node as their source
    bool isSound = true;
};

// ------------------------------------------------------------------ are two items the same

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

template<class Plain>
bool isSameMap(const QVariantMap &a, const QVariantMap &b, const Plain &plain);

/// Files do not tell 1 from 1.0.
bool isSameValue(const QVariant &a, const QVariant &b)
{
    if (isNumber(a) && isNumber(b))
        return a.toDouble() == b.toDouble();
    if (a.typeId() != b.typeId())
        return false;
    if (a.typeId() == QMetaType::QVariantList) {
        const QVariantList listA = a.toList(), listB = b.toList();
        return std::equal(listA.cbegin(), listA.cend(), listB.cbegin(), listB.cend(), isSameValue);
    }
    if (a.typeId() == QMetaType::QVariantMap)
        return isSameMap(a.toMap(), b.toMap(), [](const QVariant &value) { return value; });
    return a == b;
}

template<class Plain>
bool isSameMap(const QVariantMap &a, const QVariantMap &b, const Plain &plain)
{
    const auto isSameEntry = [&plain](const auto &entryA, const auto &entryB) {
        return entryA.first == entryB.first &&
               isSameValue(plain(entryA.second), plain(entryB.second));
    };
    return std::equal(a.constKeyValueBegin(), a.constKeyValueEnd(), b.constKeyValueBegin(),
                      b.constKeyValueEnd(), isSameEntry);
}

/// All of the items' data but where they come from.
bool isSameData(QVariantMap a, QVariantMap b)
{
    a.remove(provenanceKey);
    b.remove(provenanceKey);
    const QVariantMap paramsA = a.take(paramsKey).toMap();
    const QVariantMap paramsB = b.take(paramsKey).toMap();
    return isSameMap(paramsA, paramsB, parameterForFile) && isSameMap(a, b, plainForFile);
}

bool isSameProvenance(const Instance &a, const Instance &b)
{
    const QVariant mapA = a.typeData.value(provenanceKey);
    const QVariant mapB = b.typeData.value(provenanceKey);
    return mapA == mapB || a.provenance() == b.provenance();
}

QSet<QString> lastingTags(const SceneItem &item)
{
    return item.tags - QSet<QString>{ItemTags::Selected, ItemTags::Hovered};
}

bool isSameItem(const Instance &a, const Instance &b)
{
    const auto fields = [](const SceneItem &item) {
        return std::tie(item.itemType, item.name, item.capabilities, item.material, item.materialId,
                        item.translate, item.rotate, item.scale, item.parentId, item.sortOrder);
    };
    return fields(a) == fields(b) && (a.tags == b.tags || lastingTags(a) == lastingTags(b)) &&
           isSameProvenance(a, b) && isSameData(a.typeData, b.typeData);
}

// ------------------------------------------------------------------ from items to nodes

/// What of a wrapper's parameters its node has to say: not what the definition or the node's
/// transform says anyway.
QVariantMap ownValues(const Instance &wrapper)
{
    const QString wrapperId = wrapper.definitionId();
    const auto definition = registry::Registry::instance().getDefinition(wrapperId);
    const QVariantMap defaults = definition ? definition->getDefaultParameters() : QVariantMap();
    QVariantMap values = wrapper.rawParams();
    values.remove(childrenKey);
    const QString connected = NodeCompilation::connectedParameter(wrapperId);
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
    const QVariant value = wrapper.parameter(NodeCompilation::connectedParameter(wrapperId));
    const auto triple = readFloats<3>(value);
    const auto single = readFloat(value);
    if (wrapperId == "translate"_L1 && triple)
        node.translate = {triple->at(0), triple->at(1), triple->at(2)};
    else if (wrapperId == "rotate"_L1 && triple)
        node.rotate = {triple->at(0), triple->at(1), triple->at(2)};
    else if (wrapperId == "scale"_L1 && single)
        node.scale = {*single, *single, *single};
}

class Recovery
{
public:
    explicit Recovery(Corvane &document)
        : m_document(document)
        , m_items(document.items())
    {
        const QList<QUuid> roots = document.roots();
        m_roots = QSet<QUuid>(roots.cbegin(), roots.cend());
        m_itemsById.reserve(m_items.size());
        for (const SceneItem &item : std::as_const(m_items))
            m_itemsById.insert(item.id, &item);
    }

    /// Finds the groups of items that make nodes.
    void find()
    {
        collect();
        for (auto group = m_groups.begin(); group != m_groups.end(); ++group)
            group->isSound = group->isSound && findWrappers(group.key(), *group) && isAlone(*group);
        for (auto group = m_groups.begin(); group != m_groups.end(); ++group)
            group->isSound = group->isSound && hasSoundLinks(*group);
        spreadFlaws();
    }

    /// Fills the tree, and gives up those of its nodes that do not compile to the items that there
    /// are.
    void fillSound(LogicalScene &tree)
    {
        const qsizetype groupCount = soundGroupCount();
        fill(tree);
        giveUpChanged(tree);
        spreadFlaws();
        if (soundGroupCount() != groupCount)
            fill(tree);
    }

    void takeFromDocument()
    {
        QSet<QUuid> taken;
        for (const Group &group : std::as_const(m_groups)) {
            if (!group.isSound)
                continue;
            taken.insert(group.coreId);
            for (const QUuid &id : group.wrappers)
                taken.insert(id);
        }
        if (taken.isEmpty())
            return;
        QList<QUuid> roots = m_document.roots();
        roots.removeIf([&taken](const QUuid &id) { return taken.contains(id); });
        // Or the document would have to copy all that it shares with these.
        m_itemsById.clear();
        m_items.clear();
        m_document.exchangeItems(taken, {});
        m_document.setRoots(roots);
    }

    bool isEmpty() const { return soundGroupCount() == 0; }

private:
    qsizetype soundGroupCount() const
    {
        return std::count_if(m_groups.cbegin(), m_groups.cend(),
                             [](const Group &group) { return group.isSound; });
    }

    Instance instance(const QUuid &itemId) const
    {
        const SceneItem *item = m_itemsById.value(itemId);
        return Instance(item ? *item : SceneItem(QUuid()));
    }

    void giveUpChanged(LogicalScene &tree)
    {
        Corvane compiled;
        const auto materials = m_document.materials();
        for (const CatalogMaterial &material : materials)
            compiled.addMaterial(material);
        LogicalSceneCompiler compiler;
        compiler.setSource(&tree);
        compiler.setTarget(&compiled);
        compiler.fullCompile();
        const auto items = compiled.items();
        for (Group &group : m_groups) {
            const auto isSame = [&](const QUuid &id) {
                const auto made = items.constFind(id);
                return made != items.cend() && isSameItem(Instance(*made), instance(id));
            };
            group.isSound = group.isSound && isSame(group.coreId) &&
                            std::all_of(group.wrappers.cbegin(), group.wrappers.cend(), isSame);
        }
    }

    void fill(LogicalScene &tree) const
    {
        QVariantList nodes;
        for (auto group = m_groups.cbegin(); group != m_groups.cend(); ++group) {
            if (group->isSound)
                nodes.append(nodeOf(group.key(), *group).toVariantMap());
        }
        QVariantList roots;
        const QList<QUuid> drawn = m_document.roots();
        for (const QUuid &id : drawn) {
            const auto group = m_groups.constFind(m_sources.value(id));
            if (group != m_groups.cend() && group->isSound)
                roots.append(m_sources.value(id).toString(QUuid::WithoutBraces));
        }
        tree.fromVariantMap({{u"instances"_s, nodes}, {u"roots"_s, roots}});
    }

    void collect()
    {
        for (const SceneItem &item : std::as_const(m_items)) {
            if (item.itemType != ItemTypes::Sdf)
                continue;
            const QList<QUuid> children = m_document.childInstanceIds(item.id);
            for (const QUuid &child : children)
                m_referrers[child].append(item.id);
            if (item.hasTag(ItemTags::Compiled))
                collectCompiled(item, children);
        }
    }

    void collectCompiled(const SceneItem &item, const QList<QUuid> &children)
    {
        const SDFNodeProvenance from = Instance(item).provenance();
        if (from.sourceItemId.isNull())
            return;
        Group &group = m_groups[from.sourceItemId];
        m_sources.insert(item.id, from.sourceItemId);
        if (from.role != SDFNodeProvenance::Role::Core) {
            ++group.wrapperCount;
            return;
        }
        group.isSound = group.coreId.isNull();
        group.coreId = item.id;
        group.children = children;
    }

    /// From the core outwards, each around the one before and nothing else.
    bool findWrappers(const QUuid &source, Group &group) const
    {
        group.outerId = group.coreId;
        while (group.wrappers.size() < group.wrapperCount) {
            const QList<QUuid> referrers = m_referrers.value(group.outerId);
            if (referrers.size() != 1 || m_sources.value(referrers.first()) != source ||
                m_roots.contains(group.outerId))
                return false;
            group.outerId = referrers.first();
            group.wrappers.prepend(group.outerId);
        }
        return !group.coreId.isNull();
    }

    /// A tree has room for a node in one place.
    bool isAlone(const Group &group) const
    {
        const qsizetype users = m_referrers.value(group.outerId).size();
        return m_roots.contains(group.outerId) ? users == 0 : users <= 1;
    }

    bool hasSoundLinks(const Group &group) const
    {
        const QList<QUuid> referrers = m_referrers.value(group.outerId);
        for (const QUuid &id : referrers) {
            if (m_groups.value(m_sources.value(id)).coreId != id)
                return false;
        }
        const auto &children = group.children;
        return std::all_of(children.cbegin(), children.cend(), [this](const QUuid &child) {
            return m_groups.value(m_sources.value(child)).outerId == child;
        });
    }

    /// What hangs together with a group that is none is none.
    void spreadFlaws()
    {
        QList<QUuid> open;
        for (auto group = m_groups.cbegin(); group != m_groups.cend(); ++group) {
            if (!group->isSound)
                open.append(group.key());
        }
        QSet<QUuid> done(open.cbegin(), open.cend());
        while (!open.isEmpty()) {
            const QList<QUuid> near = neighboursOf(open.takeLast());
            for (const QUuid &source : near) {
                if (done.contains(source))
                    continue;
                done.insert(source);
                open.append(source);
                m_groups[source].isSound = false;
            }
        }
    }

    QList<QUuid> neighboursOf(const QUuid &source) const
    {
        const Group group = m_groups.value(source);
        QList<QUuid> items = m_referrers.value(group.outerId);
        items += group.children;
        QList<QUuid> sources;
        for (const QUuid &id : std::as_const(items)) {
            if (m_sources.contains(id))
                sources.append(m_sources.value(id));
        }
        return sources;
    }

    LogicalInstance nodeOf(const QUuid &source, const Group &group) const
    {
        const Instance core = instance(group.coreId);
        LogicalInstance node(source);
        node.definitionId = core.definitionId();
        node.name = core.provenance().sourceItemName;
        node.params = core.rawParams();
        node.params.remove(childrenKey);
        for (const QUuid &id : group.wrappers) {
            const Instance wrapper = instance(id);
            node.wrappers.append({wrapper.definitionId(), ownValues(wrapper)});
            takeTransform(wrapper, node);
        }
        for (const QUuid &child : group.children)
            node.children.append(m_sources.value(child));
        node.material = core.material;
        node.materialId = core.materialId;
        node.tags = lastingTags(core) - QSet<QString>{ItemTags::Compiled};
        node.blendSharpness = core.blendSharpness();
        node.materialMode = core.materialMode();
        node.densityScale = core.densityScale();
        node.shellThickness = core.shellThickness();
        if (instance(group.outerId).hasTag(ItemTags::Selected))
            node.tags.insert(ItemTags::Selected);
        return node;
    }

    Corvane &m_document;
    QMap<QUuid, SceneItem> m_items;
    QHash<QUuid, const SceneItem *> m_itemsById;
    QSet<QUuid> m_roots;
    QHash<QUuid, Group> m_groups;             ///< by the id of the node
    QHash<QUuid, QUuid> m_sources;            ///< an item to its node
    QHash<QUuid, QList<QUuid>> m_referrers{}; ///< an item to those whose children name it
};

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

} // namespace

void NodeRecovery::recover(Corvane &document, LogicalScene &tree)
{
    if (document.drawsAllItems() || readsCompiledItems(document))
        return;
    Recovery recovery(document);
    recovery.find();
    if (recovery.isEmpty())
        return;
    recovery.fillSound(tree);
    recovery.takeFromDocument();
}

} // namespace corvane::model
