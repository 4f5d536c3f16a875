#include <corvane/expr/CompileContext.h>

#include <corvane/expr/BuiltinVariables.h>
#include <corvane/model/Corvane.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::expr {

namespace {

void bindVariables(CompileContext &context, const model::Corvane &scene)
{
    const auto varsets = scene.namedVarsets();
    for (auto varset = varsets.cbegin(); varset != varsets.cend(); ++varset) {
        context.varsetNames.insert(varset.key());
        for (auto it = varset->cbegin(); it != varset->cend(); ++it)
            context.variables.insert(varset.key() + u'.' + it.key(), typeOfVariable(*it));
    }
    // The unnamed varset last: its names win, also those that have dots.
    const model::VarsetEntries entries = scene.varsetEntries();
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        const ExprType type = typeOfVariable(*it);
        context.variables.insert(it.key(), type);
        context.variables.insert(u"default."_s + it.key(), type);
    }
}

} // namespace

std::optional<ExprType> CompileContext::boundType(const QString &name) const
{
    const auto variable = variables.constFind(name);
    if (variable != variables.cend())
        return *variable;
    std::optional<ExprType> type;
    anyParting(name, [&](const QString &instance, const QString &param) {
        const auto params = instances.constFind(instance);
        if (params != instances.cend() && params->contains(param))
            type = typeOfParameter(params->value(param));
        return type.has_value();
    });
    return type;
}

bool CompileContext::isKnown(const QString &name) const
{
    return boundType(name) || builtinNames.contains(name) || mathConstantNames.contains(name);
}

ExprType CompileContext::typeOf(const QString &name) const
{
    if (const auto bound = boundType(name))
        return *bound;
    if (mathConstantNames.contains(name))
        return ExprType::Float;
    for (const BuiltinVariable &builtin : builtinVariables()) {
        if (builtin.name == name)
            return builtin.type;
    }
    return ExprType::Unknown;
}

bool CompileContext::isScope(const QString &head) const
{
    return head == "default"_L1 || head == "math"_L1 || varsetNames.contains(head) ||
           instances.contains(head);
}

bool CompileContext::includes(const CompileContext &other) const
{
    const auto has = [this](const QString &name, ExprType type) { return boundType(name) == type; };
    for (auto it = other.variables.cbegin(); it != other.variables.cend(); ++it) {
        if (!has(it.key(), *it))
            return false;
    }
    for (auto it = other.instances.cbegin(); it != other.instances.cend(); ++it) {
        if (instances.value(it.key()) == *it)
            continue;
        const auto types = parameterTypes(it.key(), *it);
        if (!std::all_of(types.keyValueBegin(), types.keyValueEnd(),
                         [&](const auto &known) { return has(known.first, known.second); }))
            return false;
    }
    return true;
}

ExprType typeOfVariable(const model::VarsetEntry &entry)
{
    const ExprType ofValue = exprTypeOfValue(entry.value);
    const ExprType named = exprTypeFromName(entry.type);
    const bool isVector = ofValue == ExprType::Vec2 || ofValue == ExprType::Vec4;
    if (named == ExprType::Vec3 && entry.type == "vector"_L1 && isVector)
        return ofValue;
    return named == ExprType::Unknown ? ofValue : named;
}

QStringList readableNames(const model::Corvane &scene, const NodeNames &nodeNames,
                          const model::SceneItem &item)
{
    QStringList names{item.name, NodeNames::of(item)};
    names.removeDuplicates();
    names.removeIf([&](const QString &name) {
        return name.isEmpty() || itemMeantBy(scene, nodeNames, name) != item.id;
    });
    return names;
}

ExprType typeOfParameter(const QVariant &stored)
{
    const auto parameter = model::ParameterValue::fromVariant(stored);
    const ExprType type = exprTypeOfValue(parameter.value());
    // An expression that has had no value yet: nearly all of them are numbers.
    const bool isNumber =
        type == ExprType::Unknown || (parameter.isExpression() && type == ExprType::Int);
    return isNumber ? ExprType::Float : type;
}

QMap<QString, ExprType> parameterTypes(const QString &name, const QVariantMap &params)
{
    QMap<QString, ExprType> types;
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        types.insert(types.cend(), name + u'.' + it.key(), typeOfParameter(*it));
    return types;
}

CompileContext buildVariableContext(const model::Corvane &scene)
{
    CompileContext context;
    for (const BuiltinVariable &builtin : builtinVariables())
        context.builtinNames.append(builtin.name);
    const QStringList constants = mathConstants().keys();
    context.mathConstantNames = QSet<QString>(constants.cbegin(), constants.cend());
    bindVariables(context, scene);
    return context;
}

CompileContext buildCompileContext(const model::Corvane &scene)
{
    CompileContext context = buildVariableContext(scene);
    const NodeNames nodeNames(scene);
    const auto items = scene.items();
    for (const model::SceneItem &item : items) {
        if (item.itemType != model::ItemTypes::Sdf)
            continue;
        const QStringList names = readableNames(scene, nodeNames, item);
        for (const QString &name : names)
            context.instances.insert(name, model::Instance(item).rawParams());
    }
    return context;
}

} // namespace corvane::expr
