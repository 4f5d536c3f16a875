#include <corvane/check/NodeCheck.h>

#include <corvane/check/KeyTables.h>
#include <corvane/check/SettingsCheck.h>
#include <corvane/check/ValueCheck.h>
#include <corvane/model/NearestName.h>
#include <corvane/model/NodeModifiers.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/SceneItem.h>
#include <corvane/model/TransformPart.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

using registry::Definition;
using registry::DefinitionPtr;
using registry::NodeType;

const QStringList &itemTypeWords()
{
    using namespace model;
    static const QStringList words{ItemTypes::Sdf,   ItemTypes::Mesh,      ItemTypes::TetVolume,
                                   ItemTypes::Group, ItemTypes::SdfDomain, ItemTypes::Camera};
    return words;
}

QStringList definitionIds()
{
    QStringList ids;
    const auto all = registry::Registry::instance().getAllPrimitives();
    for (const DefinitionPtr &definition : all)
        ids.append(definition->id);
    return ids;
}

QStringList wrapperIds()
{
    QStringList ids;
    const auto all = registry::Registry::instance().getAllPrimitives();
    for (const DefinitionPtr &definition : all) {
        if (definition->nodeType != NodeType::Primitive)
            ids.append(definition->id);
    }
    return ids;
}

QStringList parameterNames(const Definition &definition)
{
    QStringList names;
    for (const registry::ParameterDef &parameter : definition.parameters)
        names.append(parameter.name);
    return names;
}

/// "box reads width, height and depth"
QString readBy(const Definition &definition)
{
    const QStringList names = parameterNames(definition);
    return definition.id +
           (names.isEmpty() ? u" has no parameters"_s : u" reads "_s + listed(names));
}

/// "ends" of a component's interface
QStringList aliasesOf(const QVariantMap &component)
{
    QStringList aliases;
    const QVariantList interface = component.value(u"interface"_s).toList();
    for (const QVariant &promotion : interface)
        aliases.append(promotion.toMap().value(u"alias"_s).toString());
    return aliases;
}

QVariantMap asMap(const QVariant &stored)
{
    if (stored.typeId() != QMetaType::QVariantList)
        return stored.toMap();
    QVariantMap map;
    const QVariantList list = stored.toList();
    for (qsizetype i = 0; i < list.size(); ++i)
        map.insert(u"#%1"_s.arg(i), list.at(i));
    return map;
}

QString childRemedy()
{
    return u"Move it into \"params\": in version 1 children stand there"_s;
}

} // namespace

QList<NodeGroup> nodeGroupsOf(const SceneSource &source)
{
    const QVariant stored = source.block.value(u"instances"_s);
    const QVariantMap instances = source.version < 2 ? stored.toMap() : asMap(stored);
    const bool isItems = instances.isEmpty() && source.version < 2;
    const QString key = isItems ? u"items"_s : u"instances"_s;
    QList<NodeGroup> groups{
        {source.at(key), isItems ? source.block.value(key).toMap() : instances}};
    if (source.version < 2)
        return groups;
    const QVariantMap components = source.block.value(u"components"_s).toMap();
    for (auto it = components.cbegin(); it != components.cend(); ++it)
        groups.append({source.at(u"components"_s) + KeyPath{it.key(), u"instances"_s},
                       asMap(it->toMap().value(u"instances"_s))});
    return groups;
}

bool isCompiled(const QVariantMap &node)
{
    return node.contains(u"__provenance"_s) ||
           node.value(u"tags"_s).toStringList().contains(model::ItemTags::Compiled);
}

NodeCheck::NodeCheck(const SceneSource &source, Findings &findings)
    : m_source(source)
    , m_findings(findings)
{}

void NodeCheck::check(const NodeGroup &group) const
{
    for (auto it = group.nodes.cbegin(); it != group.nodes.cend(); ++it)
        checkNode(it.key(), *it, group.path + KeyPath{it.key()});
}

void NodeCheck::checkNode(const QString &key, const QVariant &stored, const KeyPath &path) const
{
    if (stored.typeId() == QMetaType::QVariantMap) {
        if (m_source.version < 2)
            checkVersion1(key, stored.toMap(), path);
        else
            checkVersion2(stored.toMap(), path);
        return;
    }
    const bool isOfBlock = keys::ofBlock(m_source.version).contains(key);
    if (m_source.version < 2 || stored.isValid() || isOfBlock)
        m_findings.add(path, u"%1 is no instance, so it is dropped"_s.arg(shownValue(stored)),
                       isOfBlock ? u"Begin it in the column of \"instances\""_s
                                 : u"Write its keys (type, params) below it, indented"_s);
}

void NodeCheck::checkVersion1(const QString &key, const QVariantMap &node,
                              const KeyPath &path) const
{
    const QString itemType = node.value(u"itemType"_s, model::ItemTypes::Sdf).toString();
    if (!itemTypeWords().contains(itemType))
        m_findings.add(
            path + KeyPath{u"itemType"_s},
            u"%1 is no type of an item"_s.arg(shownValue(QVariant(itemType))),
            m_findings.didYouMean(itemType, itemTypeWords(), u"Write sdf, or remove it"_s));
    if (itemType != model::ItemTypes::Sdf || isCompiled(node))
        return;
    const DefinitionPtr definition = definitionOf(node, path);
    if (!node.contains(u"type"_s)) {
        const bool isMisplaced =
            keys::of(keys::Item).contains(key) || keys::ofBlock(1).contains(key);
        m_findings.add(path, u"it has no type, so nothing is made of it"_s,
                       isMisplaced
                           ? u"It looks like a key of its neighbour: correct its indentation"_s
                           : u"Give it a \"type\", such as box"_s);
        if (isMisplaced)
            return;
    }
    checkKeysOf(node, path, definition);
    checkOwnValues(node, path);
    for (const model::TransformPart &part : model::transformParts) {
        const QString transform = part.key;
        if (node.contains(transform))
            m_findings.add(
                path + KeyPath{transform}, u"in a file of version 1 this key moves nothing"_s,
                u"Make an instance of type %1 with this one as its child"_s.arg(transform));
    }
    if (definition)
        checkParameters(node.value(u"params"_s).toMap(), path + KeyPath{u"params"_s}, *definition);
}

void NodeCheck::checkVersion2(const QVariantMap &node, const KeyPath &path) const
{
    if (node.contains(u"component"_s))
        checkComponent(node, path);
    const DefinitionPtr definition = definitionOf(node, path);
    checkKeysOf(node, path, definition);
    checkOwnValues(node, path);
    checkWrappers(node, path);
    const QString params = node.contains(u"params"_s) ? u"params"_s : u"parameters"_s;
    if (definition)
        checkParameters(node.value(params).toMap(), path + KeyPath{params}, *definition);
    const bool isNamed =
        node.contains(u"type"_s) || node.contains(u"component"_s) || node.contains(u"definition"_s);
    const QVariant children =
        node.value(u"children"_s, node.value(params).toMap().value(u"children"_s));
    if (!isNamed && children.toStringList().isEmpty())
        m_findings.add(path,
                       u"it has neither type, component nor children, so nothing is made of it"_s,
                       u"Give it a \"type\", such as box"_s);
}

void NodeCheck::checkKeysOf(const QVariantMap &node, const KeyPath &path,
                            const DefinitionPtr &definition) const
{
    const QStringList &known = m_source.version < 2 ? keys::of(keys::Item) : keys::of(keys::Node);
    for (auto it = node.keyBegin(); it != node.keyEnd(); ++it) {
        if (!known.contains(*it))
            m_findings.add(path + KeyPath{*it}, u"nothing reads this key"_s,
                           keyRemedy(*it, definition));
    }
    const QString paramsKey = u"params"_s;
    const QVariant params = node.value(paramsKey);
    if (params.isValid() && params.typeId() != QMetaType::QVariantMap)
        m_findings.add(path + KeyPath{paramsKey},
                       u"%1 is no map of parameters"_s.arg(shownValue(params)),
                       u"Write each as \"name: value\" below it, indented"_s);
    else if (!params.isValid() && node.contains(paramsKey))
        m_findings.add(path + KeyPath{paramsKey}, u"there is nothing below it"_s,
                       u"Indent the parameters deeper than \"params\""_s);
}

QString NodeCheck::keyRemedy(const QString &key, const DefinitionPtr &definition) const
{
    const bool isVersion1 = m_source.version < 2;
    if (isVersion1 && key == "children"_L1)
        return childRemedy();
    if (definition && definition->parameter(key))
        return u"Move it into \"params\""_s;
    if (isVersion1 && key == "definition"_L1)
        return u"Did you mean \"type\"?"_s;
    if (isVersion1 && key == "parameters"_L1)
        return u"Did you mean \"params\"?"_s;
    if (isVersion1 && keys::of(keys::Node).contains(key))
        return u"Only a file of formatVersion 2 has it"_s;
    if (m_findings.isFull())
        return {};
    const QStringList &candidates = isVersion1 ? keys::of(keys::Item) : keys::of(keys::Node);
    const QString nearest = model::nearestName(key, candidates);
    if (!nearest.isEmpty())
        return u"Did you mean \"%1\"?"_s.arg(nearest);
    const QString parameter =
        definition ? model::nearestName(key, parameterNames(*definition)) : QString();
    return parameter.isEmpty()
               ? u"Correct its name or remove it"_s
               : u"Move it into \"params\", where it is called \"%1\""_s.arg(parameter);
}

/// The values that stand beside the parameters.
void NodeCheck::checkOwnValues(const QVariantMap &node, const KeyPath &path) const
{
    for (const model::NodeModifier &modifier : model::nodeModifiers) {
        const QString key = modifier.key;
        const QVariant value = node.value(key);
        if (value.isValid() && !isNumber(value))
            m_findings.add(path + KeyPath{key}, u"%1 is not a number"_s.arg(shownValue(value)),
                           numberRemedy(value.toString(), {}));
    }
    for (const model::TransformPart &part : model::transformParts) {
        const QString key = part.key;
        const QVariant value = node.value(key);
        if (m_source.version >= 2 && value.isValid() && !model::readFloats<3>(value))
            m_findings.add(path + KeyPath{key},
                           u"%1 is not a list of 3 numbers"_s.arg(shownValue(value)),
                           u"Write it as [0.0, 0.0, 0.0]"_s);
    }
    const QVariant material = node.value(u"material"_s);
    if (material.isValid() && material.typeId() != QMetaType::QVariantMap)
        m_findings.add(path + KeyPath{u"material"_s},
                       u"%1 is no map of a material"_s.arg(shownValue(material)),
                       u"Write its albedo, metallic, roughness and emission below it"_s);
    checkKeys(material.toMap(), path + KeyPath{u"material"_s}, keys::of(keys::Material),
              m_findings);
}

/// Null when the node names none, or one that does not exist, which is told.
DefinitionPtr NodeCheck::definitionOf(const QVariantMap &node, const KeyPath &path) const
{
    const bool isOlder = m_source.version >= 2 && !node.contains(u"type"_s);
    const QString key = isOlder ? u"definition"_s : u"type"_s;
    if (!node.contains(key) || (m_source.version >= 2 && node.contains(u"component"_s)))
        return {};
    const QString id = node.value(key).toString();
    auto definition = registry::Registry::instance().getDefinition(id);
    if (!definition)
        m_findings.add(
            path + KeyPath{key}, u"there is no definition %1"_s.arg(shownValue(QVariant(id))),
            m_findings.didYouMean(id, m_findings.isFull() ? QStringList() : definitionIds(),
                                  u"Name a built-in one, or bring it under \"definitions\""_s));
    return definition;
}

void NodeCheck::checkParameters(const QVariantMap &params, const KeyPath &path,
                                const Definition &definition) const
{
    for (auto it = params.cbegin(); it != params.cend(); ++it) {
        const registry::ParameterDef *parameter = definition.parameter(it.key());
        if (!parameter && it.key() == "children"_L1)
            continue; // GraphCheck tells what becomes of them
        const KeyPath at = path + KeyPath{it.key()};
        if (!parameter) {
            const QString remedy = keys::of(keys::Item).contains(it.key())
                                       ? u"Move it out of \"params\""_s
                                       : m_findings.didYouMean(it.key(), parameterNames(definition),
                                                               readBy(definition));
            m_findings.add(at, u"nothing reads this parameter"_s, remedy);
            continue;
        }
        const auto value = model::ParameterValue::fromVariant(*it);
        const auto flaw = value.isExpression()
                              ? std::nullopt
                              : valueFlaw(*parameter, value.literal, m_source.variables);
        if (flaw)
            m_findings.add(at, flaw->what, flaw->remedy);
    }
}

void NodeCheck::checkComponent(const QVariantMap &node, const KeyPath &path) const
{
    const QVariantMap components = m_source.block.value(u"components"_s).toMap();
    const QString id = node.value(u"component"_s).toString();
    QStringList known = components.keys();
    QVariantMap component = components.value(id).toMap();
    for (const QVariant &entry : components) {
        const QString stated = entry.toMap().value(u"id"_s).toString();
        if (!stated.isEmpty())
            known.append(stated);
        if (!stated.isEmpty() && stated == id)
            component = entry.toMap();
    }
    if (!known.contains(id))
        return m_findings.add(path + KeyPath{u"component"_s},
                              u"there is no component %1"_s.arg(shownValue(QVariant(id))),
                              m_findings.didYouMean(id, known, u"Bring it under \"components\""_s));
    const QStringList aliases = aliasesOf(component);
    const QString otherwise = aliases.isEmpty() ? u"Its interface has no parameters"_s
                                                : u"Its interface has "_s + listed(aliases);
    const QVariantMap params = node.value(u"params"_s).toMap();
    for (auto it = params.keyBegin(); it != params.keyEnd(); ++it) {
        if (!aliases.contains(*it))
            m_findings.add(path + KeyPath{u"params"_s, *it}, u"nothing reads this parameter"_s,
                           m_findings.didYouMean(*it, aliases, otherwise));
    }
}

void NodeCheck::checkWrappers(const QVariantMap &node, const KeyPath &path) const
{
    const QVariantMap wrappers = node.value(u"wrappers"_s).toMap();
    for (auto it = wrappers.cbegin(); it != wrappers.cend(); ++it) {
        const KeyPath at = path + KeyPath{u"wrappers"_s, it.key()};
        const auto definition = registry::Registry::instance().getDefinition(it.key());
        if (!definition)
            m_findings.add(
                at, u"there is no definition %1"_s.arg(shownValue(QVariant(it.key()))),
                m_findings.didYouMean(it.key(), wrapperIds(),
                                      u"Name an operator or modifier that takes one part"_s));
        else if (definition->nodeType == NodeType::Primitive)
            m_findings.add(at, u"%1 is a solid, and can't stand around another"_s.arg(it.key()),
                           u"Name an operator or modifier that takes one part"_s);
        else
            checkParameters(it->toMap(), at, *definition);
    }
}

} // namespace corvane::check
