#include <corvane/model/NodeCompilation.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/MaterialLibrary.h>
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
    core.setBlendSharpness(node.blendSharpness);
    core.setMaterialMode(node.materialMode);
    core.setDensityScale(node.densityScale);
    core.setShellThickness(node.shellThickness);
}

void NodeCompilation::applyConnectedTransform(QVariantMap &params, const QString &wrapperId,
                                              const LogicalInstance &node)
{
    const QString param = connectedParameter(wrapperId);
    if (param.isEmpty())
        return;
    QVariant value;
    if (wrapperId == "translate"_L1)
        value = node.translate;
    else if (wrapperId == "rotate"_L1)
        value = node.rotate;
    else
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

QString NodeCompilation::connectedParameter(const QString &wrapperId)
{
    if (wrapperId == "translate"_L1)
        return u"offset"_s;
    if (wrapperId == "rotate"_L1)
        return u"angles"_s;
    if (wrapperId == "scale"_L1)
        return u"factor"_s;
    return {};
}

QString NodeCompilation::connectedExpression(const LogicalInstance &node, const QString &wrapperId)
{
    const WrapperValues *wrapper = node.wrapper(wrapperId);
    if (!wrapper || wrapper->values.isEmpty())
        return {};
    return ParameterValue::fromVariant(wrapper->values.value(connectedParameter(wrapperId)))
        .expression;
}

QSet<QString> NodeCompilation::coreTags(const LogicalInstance &node)
{
    static const QSet<QString> plain{ItemTags::Compiled};
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

Material NodeCompilation::materialOf(const LogicalInstance &node)
{
    if (node.materialId.isNull())
        return node.material;
    auto known = m_materials.constFind(node.materialId);
    if (known == m_materials.cend()) {
        std::optional<Material> found;
        if (const auto saved = m_document.material(node.materialId))
            found = saved->material;
        else if (const auto *listed = MaterialLibrary::instance().material(node.materialId))
            found = listed->material;
        known = m_materials.insert(node.materialId, found);
    }
    return known->value_or(node.material);
}

} // namespace corvane::model
