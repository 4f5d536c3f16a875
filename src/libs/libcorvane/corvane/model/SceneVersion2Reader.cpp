#include <corvane/model/SceneVersion2Reader.h>

#include <corvane/model/DocumentBlock.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/NodeKeys.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/model/SceneKeys.h>
#include <corvane/model/SceneMigrator.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr qsizetype maxQuoted = 200;

/// What a warning quotes of the file.
QString quoted(const QString &text)
{
    return text.left(maxQuoted);
}

/// An entry of a list says its key itself.
QString keyOfListEntry(const QVariantMap &map, qsizetype index)
{
    for (const QString &key : {u"key"_s, u"name"_s, u"id"_s}) {
        if (const QString text = map.value(key).toString(); !text.isEmpty())
            return text;
    }
    return u"#%1"_s.arg(index + 1);
}

/// References to children stand beside the parameters, or among them as version 1 has it. Those
/// among them are taken out: the compiler makes its own.
QStringList takeChildren(QVariantMap &node)
{
    QVariantMap params = node.value(u"params"_s).toMap();
    const QStringList inParams = plainParamValue(params.value(u"children"_s)).toStringList();
    if (!inParams.isEmpty()) {
        params.remove(u"children"_s);
        node.insert(u"params"_s, params);
    }
    const QVariant children = node.take(u"children"_s);
    return children.isValid() ? children.toStringList() : inParams;
}

QString idText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces);
}

} // namespace

/// The nodes under one "instances" key, as maps for LogicalInstance::fromVariantMap.
class SceneVersion2Reader::Nodes
{
public:
    void add(const QString &key, const QVariantMap &map)
    {
        m_index.insert(key, m_keys.size());
        m_keys.append(key);
        maps.append(map);
    }
    bool contains(const QString &key) const { return m_index.contains(key); }
    QString keyAt(qsizetype index) const { return m_keys.at(index); }

    /// Another word for the node, unless it means one already.
    void addWord(const QString &word, qsizetype index)
    {
        if (!word.isEmpty() && !m_index.contains(word))
            m_index.insert(word, index);
    }

    /// A key counts first, then what it says behind an "@", a name, an id; null for none.
    QUuid resolve(const QString &reference) const
    {
        auto found = m_index.constFind(reference);
        if (found == m_index.cend() && reference.startsWith(u'@'))
            found = m_index.constFind(reference.mid(1));
        return found == m_index.cend() ? QUuid() : idAt(*found);
    }
    QUuid idAt(qsizetype index) const
    {
        return QUuid::fromString(maps.at(index).value(u"id"_s).toString());
    }

    QList<QVariantMap> maps;

private:
    QStringList m_keys;
    QHash<QString, qsizetype> m_index;
};

SceneVersion2Reader::SceneVersion2Reader(const QVariantMap &block)
    : m_block(block)
{
    WarningList unused; // they are told when the definitions are taken into a document
    const auto definitions = DocumentBlock::readDefinitions(block, unused);
    for (const auto &definition : definitions)
        m_definitions.insert(definition->id, definition);
}

QSharedPointer<LogicalScene> SceneVersion2Reader::read()
{
    const Nodes nodes = readNodes(m_block.value(u"instances"_s), {});
    const QVariantList roots = rootsOf(nodes);
    const QVariantMap components = m_block.value(u"components"_s).toMap();
    for (auto it = components.cbegin(); it != components.cend(); ++it)
        readComponent(it.key(), it->toMap());

    QVariantList instances(nodes.maps.cbegin(), nodes.maps.cend());
    instances += m_leftExpanded;
    QVariantMap definitions;
    for (const auto &definition : m_components.definitions())
        definitions.insert(definition.id, definition.toVariantMap());
    auto scene = QSharedPointer<LogicalScene>::create();
    QStringList warnings;
    scene->fromVariantMap(
        {{u"instances"_s, instances}, {u"roots"_s, roots}, {u"components"_s, definitions}},
        &warnings);
    for (const QString &warning : std::as_const(warnings))
        m_warnings.add(warning);
    return scene;
}

SceneVersion2Reader::Nodes SceneVersion2Reader::readNodes(const QVariant &stored,
                                                          const QString &space)
{
    Nodes nodes;
    const auto add = [&](const QString &key, const QVariant &entry) {
        const bool isMap = entry.typeId() == QMetaType::QVariantMap;
        if (!isMap && entry.isValid())
            m_warnings.add(u"Instance '%1' is no map and was dropped"_s.arg(quoted(key)));
        else if (nodes.contains(key))
            m_warnings.add(
                u"Instance '%1' occurs twice; the later one was dropped"_s.arg(quoted(key)));
        else
            nodes.add(key, completed(SceneMigrator::withCurrentKeys(entry.toMap())));
    };
    if (stored.typeId() == QMetaType::QVariantList) {
        const QVariantList list = stored.toList();
        for (qsizetype i = 0; i < list.size(); ++i)
            add(keyOfListEntry(list.at(i).toMap(), i), list.at(i));
    } else {
        const QVariantMap map = stored.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            add(it.key(), *it);
    }

    assignIds(nodes, space);
    for (QVariantMap &map : nodes.maps) {
        const QStringList references = takeChildren(map);
        QVariantList children;
        for (const QString &reference : references) {
            const QUuid child = nodes.resolve(reference);
            if (child.isNull())
                m_warnings.add(u"Unknown child reference: %1"_s.arg(quoted(reference)));
            else
                children.append(idText(child));
        }
        if (!children.isEmpty())
            map.insert(u"children"_s, children);
        map.remove(u"ownItem"_s);
        if (map.contains(u"original"_s))
            map.insert(u"original"_s, idText(nodes.resolve(map.value(u"original"_s).toString())));
    }
    return nodes;
}

/// A key that is an id is kept as such; the ids of others follow from their keys.
void SceneVersion2Reader::assignIds(Nodes &nodes, const QString &space)
{
    QSet<QUuid> taken;
    for (qsizetype i = 0; i < nodes.maps.size(); ++i) {
        QVariantMap &map = nodes.maps[i];
        const QString key = nodes.keyAt(i);
        if (!map.contains(u"name"_s))
            map.insert(u"name"_s, key);
        nodes.addWord(map.value(u"name"_s).toString(), i);
        nodes.addWord(map.value(u"id"_s).toString(), i);
        QUuid id = QUuid::fromString(key);
        if (id.isNull() || taken.contains(id))
            id = NodeKeys::idOf(key, space);
        taken.insert(id);
        map.insert(u"id"_s, idText(id));
    }
}

/// What the node's map leaves to the file: the wrappers of a definition that the file brings along,
/// which the registry does not know yet.
QVariantMap SceneVersion2Reader::completed(QVariantMap node) const
{
    if (m_definitions.isEmpty() || node.contains(u"component"_s))
        return node;
    const auto definition = m_definitions.value(node.value(u"type"_s).toString());
    if (!definition || node.contains(u"wrapperOrder"_s))
        return node;
    const QStringList initial = definition->convenienceWrappers;
    const QStringList given = node.value(u"wrappers"_s).toMap().keys();
    const QStringList order = given.isEmpty() ? initial : wrapperMapOrder(given, initial);
    node.insert(u"wrapperOrder"_s, QVariant(order).toList());
    return node;
}

/// Without the key, all nodes that are no children.
QVariantList SceneVersion2Reader::rootsOf(const Nodes &nodes)
{
    QVariantList roots;
    const QVariant stored = m_block.value(u"roots"_s);
    if (stored.isValid()) {
        const QStringList references = stored.toStringList();
        for (const QString &reference : references) {
            const QUuid id = nodes.resolve(reference);
            if (id.isNull())
                m_warnings.add(u"Unknown root reference: %1"_s.arg(quoted(reference)));
            else if (!roots.contains(idText(id)))
                roots.append(idText(id)); // "Ball" and "@Ball" are one root
        }
        return roots;
    }
    QSet<QString> children;
    for (const QVariantMap &map : nodes.maps) {
        const QStringList ids = map.value(u"children"_s).toStringList();
        children.unite(QSet<QString>(ids.cbegin(), ids.cend()));
    }
    for (const QVariantMap &map : nodes.maps) {
        if (const QString id = map.value(u"id"_s).toString(); !children.contains(id))
            roots.append(id);
    }
    return roots;
}

void SceneVersion2Reader::readComponent(const QString &key, const QVariantMap &entry)
{
    const QString stated = entry.value(u"id"_s).toString();
    const QString id = stated.isEmpty() ? key : stated;
    const Nodes nodes = readNodes(entry.value(u"instances"_s), id);
    const QString rootKey = entry.value(u"root"_s).toString();
    const QUuid root = nodes.resolve(rootKey);
    bool isMade = false;
    if (root.isNull()) {
        m_warnings.add(u"Component %1: unknown structure root \"%2\" \u2014 left expanded"_s.arg(
            quoted(id), quoted(rootKey)));
    } else {
        isMade = registerComponent(id, entry, nodes, root);
    }
    if (!isMade)
        m_leftExpanded += QVariantList(nodes.maps.cbegin(), nodes.maps.cend());
}

bool SceneVersion2Reader::registerComponent(const QString &id, const QVariantMap &entry,
                                            const Nodes &nodes, const QUuid &root)
{
    // The structure is made sound, and its wrappers complete, as those of a scene are.
    LogicalScene structure;
    QStringList warnings;
    structure.fromVariantMap(
        {{u"instances"_s, QVariantList(nodes.maps.cbegin(), nodes.maps.cend())},
         {u"roots"_s, QVariantList{idText(root)}}},
        &warnings);
    QVariantList instances;
    const QList<QUuid> ordered = structure.nodesInOrder();
    for (const QUuid &nodeId : ordered)
        instances.append(structure.instance(nodeId)->toVariantMap());

    QVariantMap map;
    for (const QString &key : {u"name"_s, u"category"_s, u"description"_s})
        map.insert(key, entry.value(key));
    map.insert(u"id"_s, id);
    map.insert(u"interface"_s, readInterface(entry, id, nodes));
    map.insert(u"structure"_s, QVariantMap{{u"instances"_s, instances}, {u"root"_s, idText(root)}});
    QString error;
    const auto definition = component::ComponentDefinition::fromVariantMap(map);
    if (!m_components.registerDefinition(definition, &error)) {
        m_warnings.add(u"Component %1: %2 \u2014 left expanded"_s.arg(quoted(id), error));
        return false;
    }
    for (const QString &warning : std::as_const(warnings))
        m_warnings.add(u"Component %1: %2"_s.arg(quoted(id), warning));
    return true;
}

QVariantList SceneVersion2Reader::readInterface(const QVariantMap &entry, const QString &id,
                                                const Nodes &nodes)
{
    QVariantList interface;
    const QVariantList promotions = entry.value(u"interface"_s).toList();
    for (const QVariant &stored : promotions) {
        QVariantMap promotion = stored.toMap();
        QVariantMap target = promotion.value(u"target"_s).toMap();
        const QString item =
            target.value(target.contains(u"item"_s) ? u"item"_s : u"node"_s).toString();
        const QUuid node = nodes.resolve(item);
        if (node.isNull()) {
            m_warnings.add(
                u"Component %1: promotion \"%2\" targets unknown item \"%3\" \u2014 dropped"_s.arg(
                    quoted(id), quoted(promotion.value(u"alias"_s).toString()), quoted(item)));
            continue;
        }
        target.remove(u"item"_s);
        target.insert(u"node"_s, idText(node));
        promotion.insert(u"target"_s, target);
        interface.append(promotion);
    }
    return interface;
}

} // namespace corvane::model
