#include <corvane/expr/ExprModel.h>

#include <corvane/expr/BuiltinVariables.h>
#include <corvane/expr/ExprCompiler.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/TransformPart.h>

using namespace Qt::StringLiterals;

namespace corvane::expr {

namespace {

constexpr qsizetype uuidLength = 36;

/// Whether any expression reads a name, one that does not compile included.
bool isRead(const ExprModel &model, const QString &name)
{
    const ExprGraph::Node *node = model.graph.node(name);
    if (node && !node->dependents.isEmpty())
        return true;
    const QStringList failed = model.errors.keys();
    return std::any_of(failed.cbegin(), failed.cend(), [&](const QString &reader) {
        const ExprGraph::Node *failure = model.graph.node(reader);
        return failure && failure->compiled.dependencies.contains(name);
    });
}

/// Whether an expression reads a parameter by an item's name, tries to, or would mean another thing
/// if there were such an item.
bool isRead(const ExprModel &model, const QString &itemName, const QUuid &holder)
{
    const QString head = itemName.section(u'.', 0, 0);
    if (holder.isNull() && (model.context.isKnown(itemName) || model.context.isKnown(head)))
        return true;
    const QString prefix = itemName + u'.';
    const auto &nodes = model.graph.nodes();
    for (auto it = nodes.lowerBound(prefix); it != nodes.cend() && it.key().startsWith(prefix);
         ++it) {
        if (!it->dependents.isEmpty())
            return true;
    }
    return std::any_of(model.errors.keyBegin(), model.errors.keyEnd(), [&](const QString &reader) {
        const ExprGraph::Node *failure = model.graph.node(reader);
        return failure && failure->compiled.source.contains(itemName);
    });
}

QVariantMap paramsOf(const model::SceneItem &item)
{
    return item.typeData.value(u"params"_s).toMap();
}

ExprModel::ItemState stateOf(const model::SceneItem &item)
{
    return {item.name, NodeNames::of(item), item.typeData, item.translate, item.rotate, item.scale};
}

/// Not by way of stateOf(): nearly all items are as they were. Data that are equal are the item's
/// own from then on, so that the next comparison is one of addresses.
bool isAs(ExprModel::ItemState &state, const model::SceneItem &item)
{
    if (state.typeData != item.typeData)
        return false;
    state.typeData = item.typeData;
    return state.name == item.name && state.translate == item.translate &&
           state.rotate == item.rotate && state.scale == item.scale;
}

QVariantMap paramsOfState(const ExprModel &model, const QUuid &id)
{
    return model.items.value(id).typeData.value(u"params"_s).toMap();
}

void bindName(ExprModel &model, const QString &name, const model::SceneItem &item)
{
    model.named.insert(name, item.id);
    model.context.instances.insert(name, paramsOf(item));
}

void unbindName(ExprModel &model, const QString &name)
{
    model.context.instances.remove(name);
    model.named.remove(name);
}

struct ParameterPlace
{
    QUuid item{}; ///< null for none
    QString param{};
};

/// What "InstanceName.param" reads, where that is no variable.
ParameterPlace placeReadBy(const ExprModel &model, const QString &name)
{
    ParameterPlace place;
    if (model.variables.contains(name))
        return place;
    anyParting(name, [&](const QString &instance, const QString &param) {
        const bool isThere = model.context.instances.value(instance).contains(param);
        if (isThere)
            place = {model.named.value(instance), param};
        return isThere;
    });
    return place;
}

/// Whether expressions that are compiled already would see other types behind an item's name.
bool isReadOtherwise(const ExprModel &model, const QString &name, const QVariantMap &before,
                     const QVariantMap &now)
{
    const auto isSeen = [&](const QString &param, const QVariant &stored) {
        const auto known = before.constFind(param);
        const bool isNew = known == before.cend();
        const QString full = name + u'.' + param;
        if (model.variables.contains(full) ||
            (!isNew && (*known == stored || typeOfParameter(*known) == typeOfParameter(stored))))
            return false;
        // A new name may be the one that an expression lacked.
        return isNew ? !model.errors.isEmpty() : isRead(model, full);
    };
    return std::any_of(now.keyValueBegin(), now.keyValueEnd(),
                       [&](const auto &param) { return isSeen(param.first, param.second); });
}

/// Whether the field that a parameter drives, if there is one, is what the parameter gave.
bool isInStep(const model::Instance &instance, const QString &param, const QVariant &value)
{
    const auto field = drivenField(param);
    return !field || value.typeId() != QMetaType::QVector3D ||
           instance.*field == value.value<QVector3D>();
}

} // namespace

ExprType typeOfDerived(const model::VarsetEntry &entry, ExprType result)
{
    if (result == ExprType::Int && exprTypeFromName(entry.type) != ExprType::Int)
        return ExprType::Float;
    return result;
}

QString parameterNode(const QUuid &instanceId, const QString &param)
{
    return instanceId.toString(QUuid::WithoutBraces) + u'.' + param;
}

bool splitParameterNode(const QString &node, QUuid &instanceId, QString &param)
{
    if (node.size() <= uuidLength || node.at(uuidLength) != u'.')
        return false;
    instanceId = QUuid::fromString(QStringView(node).first(uuidLength));
    param = node.mid(uuidLength + 1);
    return !instanceId.isNull();
}

QVariant ExprModel::parameter(const QUuid &id, const QString &param) const
{
    return model::ParameterValue::fromVariant(paramsOfState(*this, id).value(param)).value();
}

QString nodeLabel(const model::Corvane *scene, const QString &node)
{
    QUuid id;
    QString param;
    if (!scene || !splitParameterNode(node, id, param))
        return node;
    const QString name = scene->item(id).name;
    return name.isEmpty() ? node : name + u'.' + param;
}

QVector3D model::SceneItem::*drivenField(const QString &param)
{
    const std::size_t part = model::transformPartOf(param);
    return part < model::transformParts.size() ? model::transformField<model::SceneItem>(part)
                                               : nullptr;
}

QMap<QString, ExprModel::VariableShape> variableShapes(const model::Corvane &scene)
{
    QMap<QString, ExprModel::VariableShape> shapes;
    const auto insert = [&shapes](const QString &name, const model::VarsetEntry &entry) {
        const bool isDerived = !entry.expression.isEmpty();
        const ExprType type = isDerived ? exprTypeFromName(entry.type) : typeOfVariable(entry);
        shapes.insert(name, {entry.expression, type});
    };
    const auto varsets = scene.namedVarsets();
    for (auto varset = varsets.cbegin(); varset != varsets.cend(); ++varset) {
        for (auto it = varset->cbegin(); it != varset->cend(); ++it)
            insert(varset.key() + u'.' + it.key(), *it);
    }
    const auto entries = scene.varsetEntries();
    for (auto it = entries.cbegin(); it != entries.cend(); ++it)
        insert(it.key(), *it);
    return shapes;
}

ExprModel ExprModelBuilder::build()
{
    ExprModel model;
    model.context = buildCompileContext(m_scene);
    model.variables = variableShapes(m_scene);
    for (const BuiltinVariable &builtin : builtinVariables())
        model.graph.addLeaf(builtin.name, {});
    addVariables(model);
    model.nodeNames = NodeNames(m_scene);
    const auto items = m_scene.items();
    for (const model::SceneItem &item : items) {
        if (item.itemType == model::ItemTypes::Sdf)
            addInstance(model, model::Instance(item));
    }
    linkParameterNames(model);
    reportCycles(model);
    return model;
}

CompileContext ExprModelBuilder::buildContext() const
{
    ExprModel model;
    model.context = buildCompileContext(m_scene);
    model.variables = variableShapes(m_scene);
    addVariables(model);
    const model::VarsetEntries entries = m_scene.varsetEntries();
    for (auto name = entries.keyBegin(); name != entries.keyEnd(); ++name)
        model.context.variables[u"default."_s + *name] = model.context.variables.value(*name);
    return model.context;
}

ExprModelBuilder::Change ExprModelBuilder::updateInstance(ExprModel &model,
                                                          const model::Instance &instance) const
{
    return updateItemsOf(model, {instance.id});
}

ExprModelBuilder::Change ExprModelBuilder::updateItems(ExprModel &model,
                                                       QList<QUuid> &changed) const
{
    changed = differingItems(model);
    const Change change = updateItemsOf(model, changed);
    changed.removeIf([&model](const QUuid &id) { return !model.items.contains(id); });
    return change;
}

/// One walk over both, in the order of ids.
QList<QUuid> ExprModelBuilder::differingItems(ExprModel &model) const
{
    QList<QUuid> differing;
    const auto items = m_scene.items();
    auto known = model.items.begin();
    for (auto item = items.cbegin(); item != items.cend(); ++item) {
        for (; known != model.items.end() && known.key() < item.key(); ++known)
            differing.append(known.key());
        const bool isSdf = item->itemType == model::ItemTypes::Sdf;
        const bool wasThere = known != model.items.end() && known.key() == item.key();
        if (wasThere ? !isSdf || !isAs(*known, *item) : isSdf)
            differing.append(item.key());
        if (wasThere)
            ++known;
    }
    for (; known != model.items.end(); ++known)
        differing.append(known.key());
    return differing;
}

/// All names first: one of the new items may read another.
ExprModelBuilder::Change ExprModelBuilder::updateItemsOf(ExprModel &model,
                                                         const QList<QUuid> &ids) const
{
    if (!moveNames(model, ids))
        return Change::Names;
    Change change = Change::None;
    for (const QUuid &id : ids) {
        const model::Instance instance = m_scene.instance(id);
        if (m_scene.hasItem(id) && instance.itemType == model::ItemTypes::Sdf) {
            change = std::max(change, updateParameters(model, instance));
            model.items.insert(id, stateOf(instance));
        } else {
            removeItem(model, id);
            change = std::max(change, Change::Expression);
        }
    }
    if (change == Change::Expression)
        reportCycles(model);
    return change;
}

/// Gives the names of these items to those that have them now. False when an expression would have
/// to be compiled anew.
bool ExprModelBuilder::moveNames(ExprModel &model, const QList<QUuid> &ids) const
{
    QSet<QString> touched;
    for (const QUuid &id : ids) {
        const auto known = model.items.constFind(id);
        const ExprModel::ItemState before =
            known == model.items.cend() ? ExprModel::ItemState{} : *known;
        const model::SceneItem item = m_scene.item(id);
        const bool isSdf = m_scene.hasItem(id) && item.itemType == model::ItemTypes::Sdf;
        const QString nodeName = isSdf ? NodeNames::of(item) : QString();
        const QString name = isSdf ? item.name : QString();
        if (before.nodeName != nodeName) {
            model.nodeNames.remove(before.nodeName, id);
            model.nodeNames.add(nodeName, id);
            touched.unite({before.nodeName, nodeName});
        }
        if (before.name != name)
            touched.unite({before.name, name});
    }
    touched.remove({});
    return std::all_of(touched.cbegin(), touched.cend(),
                       [&](const QString &name) { return moveName(model, name); });
}

bool ExprModelBuilder::moveName(ExprModel &model, const QString &name) const
{
    const QUuid before = model.named.value(name);
    const model::SceneItem meant = m_scene.item(itemMeantBy(m_scene, model.nodeNames, name));
    const bool isSdf = meant.itemType == model::ItemTypes::Sdf;
    const QUuid now = isSdf ? meant.id : QUuid();
    if (before == now)
        return true;
    if (isRead(model, name, before))
        return false;
    if (!before.isNull())
        unbindName(model, name);
    if (!now.isNull())
        bindName(model, name, meant);
    return true;
}

/// Its names have gone already.
void ExprModelBuilder::removeItem(ExprModel &model, const QUuid &id) const
{
    const QVariantMap params = paramsOfState(model, id);
    removeParameters(model, {}, id, params.keys());
    model.items.remove(id);
}

ExprModelBuilder::Change ExprModelBuilder::updateParameters(ExprModel &model,
                                                            const model::Instance &instance) const
{
    const bool isNamedAnew = updateNames(model, instance);
    const QVariantMap params = instance.rawParams();
    const QVariantMap before = paramsOfState(model, instance.id);
    QStringList gone = before.keys();
    gone.removeIf([&params](const QString &param) { return params.contains(param); });
    const QStringList names = readableNames(m_scene, model.nodeNames, instance);
    if (removeParameters(model, names, instance.id, gone) || isNamedAnew)
        return Change::Names;
    Change change = gone.isEmpty() ? Change::None : Change::Expression;
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        change = std::max(
            change, updateParameter(model, instance, it.key(), {before.value(it.key()), *it}));
    return change;
}

bool ExprModelBuilder::takeResults(ExprModel &model, const model::Instance &instance) const
{
    const QVariantMap before = paramsOfState(model, instance.id);
    const QVariantMap now = paramsOf(instance);
    const auto isSameType = [](const QVariant &a, const QVariant &b) {
        return typeOfParameter(a) == typeOfParameter(b);
    };
    const bool areSame =
        std::equal(before.cbegin(), before.cend(), now.cbegin(), now.cend(), isSameType);
    model.items.insert(instance.id, stateOf(instance));
    return !areSame && updateNames(model, instance);
}

bool ExprModelBuilder::updateNames(ExprModel &model, const model::Instance &instance) const
{
    bool isCompiledAnew = false;
    const QVariantMap params = instance.rawParams();
    const QStringList names = readableNames(m_scene, model.nodeNames, instance);
    for (const QString &name : names) {
        QVariantMap &known = model.context.instances[name];
        isCompiledAnew = isCompiledAnew || isReadOtherwise(model, name, known, params);
        known = params;
    }
    return isCompiledAnew;
}

void ExprModelBuilder::addVariables(ExprModel &model) const
{
    model::VarsetEntries derived;
    for (auto it = model.variables.cbegin(); it != model.variables.cend(); ++it) {
        const model::VarsetEntry entry = m_scene.variableEntry(it.key());
        if (entry.expression.isEmpty()) {
            model.graph.addLeaf(it.key(), entry.value);
        } else {
            derived.insert(it.key(), entry);
            // Holds for members of a cycle, whose types nothing settles.
            ExprType &type = model.context.variables[it.key()];
            if (type == ExprType::Unknown)
                type = ExprType::Float;
        }
        if (!it.key().contains(u'.'))
            model.graph.addLeaf(u"default."_s + it.key(), entry.value);
    }

    const ExprCompiler compiler(model.context);
    const QStringList order = compileOrder(model, derived);
    for (const QString &name : order) {
        const model::VarsetEntry &entry = *derived.constFind(name);
        const CompiledExpression compiled = compiler.compile(entry.expression);
        if (!compiled.isValid()) {
            model.graph.addFailed(name, compiled, entry.value);
            model.errors.insert(name, compiled.errors.value(0).message);
            continue;
        }
        model.context.variables[name] = typeOfDerived(entry, compiled.resultType);
        model.graph.addExpression(name, compiled);
        model.varsetExpressions.insert(name);
    }
}

QStringList ExprModelBuilder::compileOrder(const ExprModel &model,
                                           const model::VarsetEntries &derived) const
{
    const ExprCompiler compiler(model.context);
    ExprGraph reads;
    for (auto it = derived.cbegin(); it != derived.cend(); ++it) {
        CompiledExpression scanned;
        scanned.dependencies = compiler.dependencies(it->expression);
        reads.addExpression(it.key(), scanned);
    }
    return reads.topologicalOrder() + reads.detectCycles();
}

void ExprModelBuilder::addInstance(ExprModel &model, const model::Instance &instance) const
{
    model.items.insert(instance.id, stateOf(instance));
    const QStringList names = readableNames(m_scene, model.nodeNames, instance);
    for (const QString &name : names)
        bindName(model, name, instance);
    const QVariantMap params = instance.rawParams();
    for (auto it = params.cbegin(); it != params.cend(); ++it) {
        const auto parameter = model::ParameterValue::fromVariant(*it);
        if (!parameter.isExpression())
            continue;
        const QString node = parameterNode(instance.id, it.key());
        const CompiledExpression compiled =
            ExprCompiler(model.context).compile(parameter.expression);
        if (compiled.isValid()) {
            model.graph.addExpression(node, compiled, parameter.fallback);
        } else {
            model.graph.addFailed(node, compiled, parameter.fallback);
            model.errors.insert(node, compiled.errors.value(0).message);
        }
    }
}

ExprModelBuilder::Change ExprModelBuilder::updateParameter(ExprModel &model,
                                                           const model::Instance &instance,
                                                           const QString &param,
                                                           const StoredChange &stored) const
{
    const QString node = parameterNode(instance.id, param);
    const auto parameter = model::ParameterValue::fromVariant(stored.now);
    const ExprGraph::Node *known = model.graph.node(node);
    if (!parameter.isExpression()) {
        if (!known)
            return stored.now == stored.before ? Change::None : Change::Value;
        const bool wasExpression = known->isExpression;
        if (known->compiled.source.isEmpty() && known->value == parameter.literal)
            return Change::None;
        model.errors.remove(node);
        model.graph.addLeaf(node, parameter.literal);
        model.graph.markDependentsDirty(node);
        return wasExpression ? Change::Expression : Change::Value;
    }
    if (known && known->compiled.source == parameter.expression) {
        // The same text may come with no value, or with an old one: the graph's is no longer the
        // scene's then.
        if (model::plainForFile(known->value) == model::plainForFile(parameter.fallback) &&
            isInStep(instance, param, known->value))
            return Change::None;
        model.graph.overwriteResult(node, parameter.fallback);
        return Change::Value;
    }
    model.errors.remove(node);
    const CompiledExpression compiled = ExprCompiler(model.context).compile(parameter.expression);
    if (compiled.isValid()) {
        model.graph.addExpression(node, compiled, parameter.fallback);
        linkParameterNames(model, compiled.dependencies);
    } else {
        model.graph.addFailed(node, compiled, parameter.fallback);
        model.errors.insert(node, compiled.errors.value(0).message);
    }
    model.graph.markDependentsDirty(node);
    return Change::Expression;
}

bool ExprModelBuilder::removeParameters(ExprModel &model, const QStringList &names, const QUuid &id,
                                        const QStringList &gone) const
{
    bool isAnyRead = false;
    for (const QString &param : gone) {
        const QString node = parameterNode(id, param);
        model.graph.markDependentsDirty(node);
        model.graph.removeNode(node);
        model.errors.remove(node);
        for (const QString &name : names) {
            const QString full = name + u'.' + param;
            isAnyRead = isAnyRead || (!model.variables.contains(full) && isRead(model, full));
        }
    }
    return isAnyRead;
}

void ExprModelBuilder::linkParameterNames(ExprModel &model) const
{
    QSet<QString> read;
    for (const ExprGraph::Node &node : model.graph.nodes())
        read.unite(QSet<QString>(node.dependencies.cbegin(), node.dependencies.cend()));
    linkParameterNames(model, read.values());
}

void ExprModelBuilder::linkParameterNames(ExprModel &model, const QStringList &names) const
{
    for (const QString &name : names) {
        const ParameterPlace place = placeReadBy(model, name);
        if (place.item.isNull())
            continue;
        const QString node = parameterNode(place.item, place.param);
        if (!model.graph.contains(node))
            model.graph.addLeaf(node,
                                m_scene.instance(place.item).parameterValue(place.param).literal);
        model.graph.addAlias(name, node, {});
    }
}

void ExprModelBuilder::reportCycles(ExprModel &model) const
{
    const QStringList cyclic = model.graph.detectCycles();
    if (cyclic.isEmpty())
        model.errors.remove({});
    else
        model.errors.insert(
            {}, u"Circular dependency involving '%1'"_s.arg(nodeLabel(&m_scene, cyclic.first())));
}

} // namespace corvane::expr
