#include <corvane/ops/ExpressionSnapshot.h>

#include <corvane/component/ComponentRegistry.h>
#include <corvane/expr/CompileContext.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

const QString variablesKey = u"variables"_s;
const QString itemsKey = u"items"_s;
const QString nodesKey = u"nodes"_s;
const QString componentsKey = u"components"_s;

using Rewrite = std::function<QString(const QString &)>;

bool hasExpression(const QVariantMap &params)
{
    return std::any_of(params.cbegin(), params.cend(), [](const QVariant &stored) {
        return model::ParameterValue::fromVariant(stored).isExpression();
    });
}

bool hasExpression(const model::LogicalInstance &node)
{
    return hasExpression(node.params) || std::any_of(node.wrappers.cbegin(), node.wrappers.cend(),
                                                     [](const model::WrapperValues &wrapper) {
                                                         return hasExpression(wrapper.values);
                                                     });
}

/// Items that stand for nodes are compiled from those, and come back with them.
bool isOfInterest(const OpContext &context, const model::SceneItem &item)
{
    return item.itemType == model::ItemTypes::Sdf && !context.node(item.id) &&
           !(context.tree && item.hasTag(model::ItemTags::Compiled));
}

QVariantMap expressionsOf(const model::VarsetEntries &entries)
{
    QVariantMap texts;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (!it->expression.isEmpty())
            texts.insert(texts.cend(), it.key(), it->expression);
    }
    return texts;
}

/// By varset, the unnamed one under an empty name. Not by full names: "a.b" may be an entry of the
/// unnamed varset and one of the varset "a" at once.
QVariantMap captureVariables(const OpContext &context)
{
    QVariantMap captured{{QString(), expressionsOf(context.document.varsetEntries())}};
    const auto named = context.document.namedVarsets();
    for (auto varset = named.cbegin(); varset != named.cend(); ++varset)
        captured.insert(varset.key(), expressionsOf(*varset));
    return captured;
}

QVariantMap captureItems(const OpContext &context)
{
    QVariantMap captured;
    const auto items = context.document.items();
    for (const model::SceneItem &item : items) {
        const QVariantMap params = model::Instance(item).rawParams();
        if (isOfInterest(context, item) && hasExpression(params))
            captured.insert(idText(item.id), params);
    }
    return captured;
}

QVariantMap captureNodes(const OpContext &context)
{
    QVariantMap captured;
    for (const model::LogicalInstance &node : context.tree->instances()) {
        if (!hasExpression(node))
            continue;
        QVariantList wrappers;
        for (const model::WrapperValues &wrapper : node.wrappers)
            wrappers.append(wrapper.values);
        captured.insert(idText(node.id),
                        QVariantMap{{u"params"_s, node.params}, {u"wrappers"_s, wrappers}});
    }
    return captured;
}

QVariantMap captureComponents(const OpContext &context)
{
    QVariantMap captured;
    const auto &definitions = context.tree->componentRegistry()->definitions();
    for (auto it = definitions.cbegin(); it != definitions.cend(); ++it)
        captured.insert(it.key(), it->toVariantMap());
    return captured;
}

/// Whether one of the entries had another text.
bool setExpressions(model::VarsetEntries &entries, const QVariantMap &texts)
{
    bool isChanged = false;
    for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
        const auto entry = entries.find(it.key());
        if (entry == entries.end() || entry->expression == it->toString())
            continue;
        entry->expression = it->toString();
        isChanged = true;
    }
    return isChanged;
}

void restoreVariables(OpContext &context, const QVariantMap &captured)
{
    model::VarsetTable table = context.document.variables();
    bool isChanged = false;
    for (auto it = captured.cbegin(); it != captured.cend(); ++it) {
        const bool isNamed = !it.key().isEmpty();
        model::VarsetEntries entries = isNamed ? table.namedVarset(it.key()) : table.entries();
        if (!setExpressions(entries, it->toMap()))
            continue;
        isChanged = true;
        if (isNamed)
            table.setNamed(it.key(), entries, table.namedVarsetEntryOrder(it.key()));
        else
            table.setEntries(entries, table.order());
    }
    if (isChanged)
        context.document.setVariables(table);
}

void restoreItems(OpContext &context, const QVariantMap &captured)
{
    for (auto it = captured.cbegin(); it != captured.cend(); ++it) {
        const QUuid id = QUuid::fromString(it.key());
        if (!context.document.hasItem(id))
            continue;
        model::Instance instance = context.document.instance(id);
        instance.setRawParams(it->toMap());
        context.document.updateItem(instance);
    }
}

void restoreNodes(OpContext &context, const QVariantMap &captured)
{
    for (auto it = captured.cbegin(); it != captured.cend(); ++it) {
        const model::LogicalInstance *found = context.node(QUuid::fromString(it.key()));
        if (!found)
            continue;
        model::LogicalInstance node = *found;
        node.params = it->toMap().value(u"params"_s).toMap();
        const QVariantList wrappers = it->toMap().value(u"wrappers"_s).toList();
        for (qsizetype i = 0; i < wrappers.size() && i < node.wrappers.size(); ++i)
            node.wrappers[i].values = wrappers.at(i).toMap();
        context.tree->replaceInstance(node);
    }
}

void restoreComponents(OpContext &context, const QVariantMap &captured)
{
    for (const QVariant &map : captured) {
        const auto definition = component::ComponentDefinition::fromVariantMap(map.toMap());
        if (context.tree->componentRegistry()->contains(definition.id))
            context.tree->componentRegistry()->applyDefinition(definition);
    }
}

QVariantMap rewrittenParams(QVariantMap params, const Rewrite &rewrite)
{
    for (QVariant &stored : params) {
        auto value = model::ParameterValue::fromVariant(stored);
        if (!value.isExpression())
            continue;
        const QString text = rewrite(value.expression);
        if (text == value.expression)
            continue;
        value.expression = text;
        stored = model::parameterForFile(QVariant::fromValue(value));
    }
    return params;
}

void rewriteVariables(OpContext &context, const Rewrite &rewrite)
{
    QVariantMap captured = captureVariables(context);
    for (QVariant &varset : captured) {
        QVariantMap texts = varset.toMap();
        for (QVariant &text : texts)
            text = rewrite(text.toString());
        varset = texts;
    }
    restoreVariables(context, captured);
}

void rewriteItems(OpContext &context, const Rewrite &rewrite)
{
    const QVariantMap before = captureItems(context);
    QVariantMap changed;
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        const QVariantMap params = rewrittenParams(it->toMap(), rewrite);
        if (params != it->toMap())
            changed.insert(it.key(), params);
    }
    restoreItems(context, changed);
}

model::LogicalInstance rewrittenNode(model::LogicalInstance node, const Rewrite &rewrite)
{
    node.params = rewrittenParams(node.params, rewrite);
    for (model::WrapperValues &wrapper : node.wrappers)
        wrapper.values = rewrittenParams(wrapper.values, rewrite);
    return node;
}

void rewriteNodes(OpContext &context, const Rewrite &rewrite)
{
    QList<model::LogicalInstance> changed;
    for (const model::LogicalInstance &node : context.tree->instances()) {
        const model::LogicalInstance rewritten = rewrittenNode(node, rewrite);
        if (rewritten != node)
            changed.append(rewritten);
    }
    for (const model::LogicalInstance &node : std::as_const(changed))
        context.tree->replaceInstance(node);
}

/// The expressions of nodes inside components read the variables of the scene; those of promotions
/// do so too, unless the component itself has a value of that name.
void rewriteComponents(OpContext &context, const QString &oldName, const Rewrite &rewrite)
{
    const auto definitions = context.tree->componentRegistry()->definitions();
    for (component::ComponentDefinition definition : definitions) {
        const component::ComponentDefinition before = definition;
        QVariantList nodes;
        const QVariantList maps = definition.structure.value(u"instances"_s).toList();
        for (const QVariant &map : maps) {
            const auto node = model::LogicalInstance::fromVariantMap(map.toMap());
            const bool isTouched = rewrittenNode(node, rewrite) != node;
            nodes.append(isTouched ? QVariant(rewrittenNode(node, rewrite).toVariantMap()) : map);
        }
        definition.structure.insert(u"instances"_s, nodes);
        const bool isOwn =
            std::any_of(definition.promotions.cbegin(), definition.promotions.cend(),
                        [&oldName](const auto &promotion) { return promotion.alias == oldName; });
        for (component::ComponentPromotion &promotion : definition.promotions) {
            if (!isOwn && !promotion.expression.isEmpty())
                promotion.expression = rewrite(promotion.expression);
        }
        if (definition != before)
            context.tree->componentRegistry()->applyDefinition(definition);
    }
}

} // namespace

QVariantMap captureExpressions(const OpContext &context)
{
    QVariantMap captured{{variablesKey, captureVariables(context)},
                         {itemsKey, captureItems(context)}};
    if (context.tree) {
        captured.insert(nodesKey, captureNodes(context));
        captured.insert(componentsKey, captureComponents(context));
    }
    return captured;
}

void keepDifferences(QVariantMap &before, QVariantMap &after)
{
    const QStringList groups = before.keys();
    for (const QString &group : groups) {
        QVariantMap old = before.value(group).toMap();
        QVariantMap now = after.value(group).toMap();
        old.removeIf([&now](QVariantMap::iterator it) {
            if (now.value(it.key()) != *it)
                return false;
            now.remove(it.key());
            return true;
        });
        before.insert(group, old);
        after.insert(group, now);
    }
}

void restoreExpressions(OpContext &context, const QVariantMap &expressions)
{
    if (expressions.isEmpty())
        return;
    restoreVariables(context, expressions.value(variablesKey).toMap());
    restoreItems(context, expressions.value(itemsKey).toMap());
    if (!context.tree)
        return;
    const model::LogicalScene::Batch batch(*context.tree);
    restoreComponents(context, expressions.value(componentsKey).toMap());
    restoreNodes(context, expressions.value(nodesKey).toMap());
}

void renameWithoutRewriting(OpContext &context, const std::function<void()> &rename)
{
    QVariantMap before = captureExpressions(context);
    rename();
    QVariantMap after = captureExpressions(context);
    keepDifferences(before, after);
    restoreExpressions(context, before);
}

void renameInExpressions(OpContext &context, const QString &oldName, const QString &newName,
                         expr::RenamedKind kind)
{
    // Made when the new name holds already: a reference that the names do not know is then taken at
    // its word, which is the old one's.
    const expr::CompileContext names = expr::buildCompileContext(context.document);
    const Rewrite rewrite = [&](const QString &text) {
        return expr::rewriteName(text, oldName, newName, kind, names);
    };
    rewriteVariables(context, rewrite);
    rewriteItems(context, rewrite);
    if (!context.tree)
        return;
    const model::LogicalScene::Batch batch(*context.tree);
    rewriteNodes(context, rewrite);
    rewriteComponents(context, oldName, rewrite);
}

} // namespace corvane::ops
