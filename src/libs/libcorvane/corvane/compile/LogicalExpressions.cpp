#include <corvane/compile/LogicalExpressions.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

QString LogicalExpressions::Rename::apply(const QString &text) const
{
    return expr::rewriteName(text, oldName, newName, kind, context);
}

bool LogicalExpressions::Rename::apply(QVariantMap &values) const
{
    bool isChanged = false;
    for (auto it = values.begin(); it != values.end(); ++it) {
        auto parameter = ParameterValue::fromVariant(*it);
        if (!parameter.isExpression())
            continue;
        const QString text = apply(parameter.expression);
        if (text == parameter.expression)
            continue;
        parameter.expression = text;
        *it = parameter.toVariantMap();
        isChanged = true;
    }
    return isChanged;
}

void LogicalExpressions::renameVariable(const QString &oldName, const QString &newName,
                                        const Corvane &document)
{
    Rename change{oldName, newName, expr::RenamedKind::Variable,
                  expr::buildVariableContext(document)};
    // The names as the expressions were written against them.
    for (const QString &prefix : {QString(), u"default."_s}) {
        const auto type = change.context.variables.take(prefix + newName);
        change.context.variables.insert(prefix + oldName, type);
    }
    rename(change);
}

void LogicalExpressions::renameItem(const QString &oldName, const QString &newName,
                                    const Corvane &document)
{
    rename({oldName, newName, expr::RenamedKind::Instance, expr::buildCompileContext(document)});
}

void LogicalExpressions::rename(const Rename &rename)
{
    const LogicalScene::Batch batch(m_scene);
    renameInNodes(rename);
    renameInComponents(rename);
}

void LogicalExpressions::renameInNodes(const Rename &rename)
{
    const QList<QUuid> ids = m_scene.instances().keys();
    for (const QUuid &id : ids) {
        const LogicalInstance node = *std::as_const(m_scene).instance(id);
        QVariantMap params = node.params;
        bool isChanged = rename.apply(params);
        if (isChanged)
            m_scene.setInstanceParameters(id, params);
        for (const WrapperValues &wrapper : node.wrappers) {
            QVariantMap values = wrapper.values;
            if (!rename.apply(values))
                continue;
            isChanged = true;
            for (auto it = values.cbegin(); it != values.cend(); ++it) {
                if (*it != wrapper.values.value(it.key()))
                    m_scene.setWrapperParameter(id, wrapper.definitionId, it.key(), *it);
            }
        }
        if (isChanged && node.isComponentInstance())
            m_haveComponentsChanged = true;
        else if (isChanged)
            m_changedNodes.append(id);
    }
}

void LogicalExpressions::renameInComponents(const Rename &rename)
{
    const auto definitions = m_scene.componentRegistry()->definitions();
    for (component::ComponentDefinition definition : definitions) {
        const bool inStructure = renameInStructure(definition, rename);
        const bool inPromotions = renameInPromotions(definition, rename);
        if (!inStructure && !inPromotions)
            continue;
        m_scene.componentRegistry()->restoreDefinition(definition);
        m_haveComponentsChanged = true;
    }
}

bool LogicalExpressions::renameInStructure(component::ComponentDefinition &definition,
                                           const Rename &rename)
{
    bool isChanged = false;
    QVariantList nodes = definition.structure.value(u"instances"_s).toList();
    for (QVariant &stored : nodes) {
        QVariantMap node = stored.toMap();
        QVariantMap params = node.value(u"params"_s).toMap();
        if (rename.apply(params)) {
            node.insert(u"params"_s, params);
            stored = node;
            isChanged = true;
        }
        QVariantMap wrappers = node.value(u"wrappers"_s).toMap();
        bool wrappersChanged = false;
        for (QVariant &wrapper : wrappers) {
            QVariantMap values = wrapper.toMap();
            if (!rename.apply(values))
                continue;
            wrapper = values;
            wrappersChanged = true;
        }
        if (!wrappersChanged)
            continue;
        node.insert(u"wrappers"_s, wrappers);
        stored = node;
        isChanged = true;
    }
    if (isChanged)
        definition.structure.insert(u"instances"_s, nodes);
    return isChanged;
}

bool LogicalExpressions::renameInPromotions(component::ComponentDefinition &definition,
                                            const Rename &rename)
{
    auto &promotions = definition.promotions;
    const bool isOwnName =
        std::any_of(promotions.cbegin(), promotions.cend(),
                    [&rename](const auto &promotion) { return promotion.alias == rename.oldName; });
    bool isChanged = false;
    for (auto it = promotions.begin(); !isOwnName && it != promotions.end(); ++it) {
        const QString text = rename.apply(it->expression);
        isChanged |= text != it->expression;
        it->expression = text;
    }
    return isChanged;
}

} // namespace corvane::model
