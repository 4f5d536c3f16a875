#include <corvane/model/NodeCompilation.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/TransformPart.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// The parameters as they are stored, less the children, which are the tree's to give.
QVariantMap storedParameters(const QVariantMap &params, const QVariantMap &before)
{
    QVariantMap stored;
    for (auto it = params.cbegin(); it != params.cend(); ++it) {
        if (it.key() == "children"_L1)
            continue;
        auto parameter = ParameterValue::fromVariant(*it);
        if (parameter.isExpression() && !before.isEmpty()) {
            const auto old = ParameterValue::fromVariant(before.value(it.key()));
            if (old.isExpression() && old.expression == parameter.expression &&
                old.fallback.isValid())
                parameter.fallback = old.fallback;
        }
        stored.insert(stored.cend(), it.key(), QVariant::fromValue(parameter));
    }
    return stored;
}

/// An item that says a modifier at its default goes on to say it.
void keepStatedModifiers(Instance &core, const LogicalInstance &node)
{
    for (const NodeModifier &modifier : nodeModifiers) {
        const auto stated = node.ownItem.constFind(modifier.key);
        if (stated != node.ownItem.cend() && !core.typeData.contains(modifier.key))
            core.typeData.insert(modifier.key, *stated);
    }
}

} // namespace

QVariantMap NodeCompilation::coreParameters(const LogicalInstance &node, const QVariantMap &before)
{
    return storedParameters(node.params, before);
}

QVariantMap NodeCompilation::wrapperParameters(const WrapperValues &values,
                                               const QVariantMap &before)
{
    QVariantMap params = defaultsOf(values.definitionId);
    if (values.values.isEmpty())
        return params;
    const QVariantMap own = storedParameters(values.values, before);
    for (auto it = own.cbegin(); it != own.cend(); ++it)
        params.insert(it.key(), *it);
    return params;
}

void NodeCompilation::fillSurface(Instance &core, const LogicalInstance &node)
{
    core.material = materialOf(node);
    core.materialId = node.materialId;
    core.setModifiers(node.modifiers);
    keepStatedModifiers(core, node);
}

void NodeCompilation::applyConnectedTransform(QVariantMap &params, const QString &wrapperId,
                                              const LogicalInstance &node)
{
    const std::size_t part = transformPartOf(wrapperId);
    if (part == transformParts.size())
        return;
    const QString param = transformParts[part].parameter;
    QVariant value = node.*transformField<LogicalInstance>(part);
    if (transformParts[part].isUniform)
        value = qFuzzyIsNull(node.scale.x()) ? 1.0f : node.scale.x();
    const QString expression = connectedExpression(node, wrapperId);
    auto applied = ParameterValue::fromLiteral(value);
    if (!expression.isEmpty()) {
        const auto known = ParameterValue::fromVariant(params.value(param));
        const bool isFound = known.expression == expression && known.fallback.isValid();
        applied = ParameterValue::fromExpression(expression, isFound ? known.fallback : value);
    }
    params.insert(param, QVariant::fromValue(applied));
}

QString NodeCompilation::connectedExpression(const LogicalInstance &node, const QString &wrapperId)
{
    const WrapperValues *wrapper = node.wrapper(wrapperId);
    if (!wrapper || wrapper->values.isEmpty())
        return {};
    return ParameterValue::fromVariant(wrapper->values.value(connectedParameter(wrapperId)))
        .expression;
}

/// The name that an earlier compile gave stays, and with it the name of the node is told.
Instance NodeCompilation::ownCore(const LogicalInstance &node)
{
    static const QString provenanceKey = u"__provenance"_s;
    QVariantMap map = node.ownItem;
    map.remove(u"children"_s); // as it wrote them
    map.insert(u"id"_s, node.id.toString(QUuid::WithoutBraces));
    if (map.contains(u"name"_s)) {
        QVariantMap from = map.value(provenanceKey).toMap();
        from.insert(u"sourceItemName"_s, node.name);
        map.insert(provenanceKey, from);
    } else {
        map.insert(u"name"_s, node.name);
    }
    Instance core{SceneItem::fromVariantMap(map)};
    if (!node.definitionId.isEmpty())
        core.setDefinitionId(node.definitionId);
    core.tags = coreTags(node);
    return core;
}

QSet<QString> NodeCompilation::coreTags(const LogicalInstance &node)
{
    static const QSet<QString> plain{ItemTags::Compiled};
    if (node.hasOwnItem()) {
        QSet<QString> tags = node.tags;
        tags.remove(ItemTags::Selected);
        const QStringList own = node.ownItem.value(u"tags"_s).toStringList();
        return tags.unite(QSet<QString>(own.cbegin(), own.cend()));
    }
    if (node.tags.isEmpty())
        return plain;
    QSet<QString> tags = node.tags;
    tags.remove(ItemTags::Selected);
    tags.insert(ItemTags::Compiled);
    return tags;
}

const QVariantMap &NodeCompilation::defaultsOf(const QString &wrapperId)
{
    const auto known = m_defaults.constFind(wrapperId);
    if (known != m_defaults.cend())
        return *known;
    const auto definition = registry::Registry::instance().getDefinition(wrapperId);
    return *m_defaults.insert(wrapperId,
                              definition ? storedParameters(definition->getDefaultParameters(), {})
                                         : QVariantMap());
}

const NodeCompilation::KnownMaterial &NodeCompilation::knownMaterial(const QUuid &id)
{
    auto known = m_materials.constFind(id);
    if (known == m_materials.cend()) {
        KnownMaterial found;
        if (const auto saved = m_document.material(id))
            found.ofDocument = saved->material;
        if (const auto *listed = MaterialLibrary::instance().material(id))
            found.ofLibrary = listed->material;
        known = m_materials.insert(id, found);
    }
    return *known;
}

Material NodeCompilation::materialOf(const LogicalInstance &node)
{
    if (node.materialId.isNull())
        return node.material;
    const KnownMaterial &known = knownMaterial(node.materialId);
    if (known.ofDocument || node.hasOwnItem())
        return known.ofDocument.value_or(node.material);
    return known.ofLibrary.value_or(node.material);
}

} // namespace corvane::model
