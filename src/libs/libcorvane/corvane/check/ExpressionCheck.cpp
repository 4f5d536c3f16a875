#include <corvane/check/ExpressionCheck.h>

#include <corvane/check/ValueCheck.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/NearestName.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/SDFNodeProvenance.h>
#include <corvane/registry/Registry.h>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

using expr::ExpressionFailure;
using model::Instance;

constexpr qsizetype maxCandidates = 2000;
constexpr auto unknownName = "Unknown name: "_L1;

/// The parameter in the instance's definition; none for what the registry does not know.
std::optional<registry::ParameterDef> parameterOf(const Instance &instance, const QString &name)
{
    const auto definition = registry::Registry::instance().getDefinition(instance.definitionId());
    const auto *const parameter = definition ? definition->parameter(name) : nullptr;
    return parameter ? std::optional(*parameter) : std::nullopt;
}

bool hasExpressions(const model::Corvane &scene)
{
    const auto items = scene.items();
    return std::any_of(items.cbegin(), items.cend(), [](const model::SceneItem &item) {
        const QVariantMap params = Instance(item).rawParams();
        return std::any_of(params.cbegin(), params.cend(), [](const QVariant &stored) {
            return model::ParameterValue::fromVariant(stored).isExpression();
        });
    });
}

/// "so its default, 10, is used": what stands in for the value that an expression does not give.
QString insteadOf(const ExpressionFailure &failure, const Instance &instance)
{
    if (failure.value.isValid())
        return u"so %1 is used"_s.arg(shownValue(failure.value));
    const auto parameter = parameterOf(instance, failure.name);
    return parameter && !failure.instanceId.isNull()
               ? u"so its default, %1, is used"_s.arg(shownValue(parameter->defaultValue))
               : u"so it has none"_s;
}

/// The compiler's words; its place behind the end of the text is that end.
QString reasonOf(const ExpressionFailure &failure)
{
    if (failure.expression.trimmed().isEmpty())
        return u"there is nothing behind the \"=\""_s;
    if (failure.message.startsWith("unexpected token ')'"_L1) &&
        failure.expression.count(u'(') >= failure.expression.count(u')'))
        return u"the expression ends too early"_s;
    return failure.message;
}

/// The variables, and the parameters where they may be compared in no time.
QStringList knownNames(const expr::CompileContext &context, const QStringList &variables)
{
    QStringList names = variables + context.builtinNames + context.mathConstantNames.values() +
                        context.variables.keys().mid(0, maxCandidates);
    if (context.instances.size() > maxCandidates)
        return names;
    QStringList parameters;
    for (auto item = context.instances.cbegin(); item != context.instances.cend(); ++item) {
        parameters.append(item.key());
        for (auto param = item->keyBegin(); param != item->keyEnd(); ++param)
            parameters.append(item.key() + u'.' + *param);
    }
    parameters.sort(); // a hash has another order in each run
    return names + parameters;
}

QString remedyOf(const ExpressionFailure &failure, const expr::CompileContext &context,
                 const QStringList &variables)
{
    if (failure.message.contains("has no value here"_L1))
        return u"Read what has a value"_s;
    if (failure.message.startsWith("bitwise operator"_L1) && failure.expression.contains(u'^'))
        return u"A power is pow(base, exponent)"_s;
    if (!failure.message.startsWith(unknownName))
        return u"Correct the expression"_s;
    const QString name = failure.message.mid(unknownName.size()).section(u", "_s, 0, 0);
    const QStringList known = knownNames(context, variables);
    for (const QString &candidate : known) {
        if (candidate.section(u'.', 1).compare(name, Qt::CaseInsensitive) == 0)
            return u"Did you mean \"%1\"?"_s.arg(shown(candidate)); // "pi", without its scope
    }
    return model::didYouMean(name, known, u"Declare it under \"varset\", or correct the name"_s);
}

// Fallbacks are written with fewer digits than values are computed with.
bool isSame(const QVariant &a, const QVariant &b)
{
    constexpr double rounding = 1e-5;
    const auto first = model::readFloat(a);
    const auto second = model::readFloat(b);
    if (first && second)
        return std::abs(*first - *second) <= rounding * std::max(1.0, std::abs(double(*first)));
    const QVariant plain = model::plainForFile(a);
    const QVariant other = model::plainForFile(b);
    if (plain.typeId() != QMetaType::QVariantList || other.typeId() != QMetaType::QVariantList)
        return plain == other;
    const QVariantList entries = plain.toList();
    const QVariantList others = other.toList();
    return std::equal(entries.cbegin(), entries.cend(), others.cbegin(), others.cend(), &isSame);
}

} // namespace

ExpressionCheck::ExpressionCheck(const SceneSource &source, Findings &findings)
    : m_source(source)
    , m_findings(findings)
{}

void ExpressionCheck::check(const model::Corvane &scene,
                            const expr::ExpressionManager &expressions) const
{
    const QList<ExpressionFailure> failures = expressions.failures();
    for (const ExpressionFailure &failure : failures)
        addFailure(scene, expressions, failure);
    const auto items = scene.items();
    for (const model::SceneItem &item : items) {
        if (item.itemType == model::ItemTypes::Sdf)
            checkValues(Instance(item));
    }
}

void ExpressionCheck::checkCopy(const model::Corvane &scene, bool tellsUnread) const
{
    model::VarsetTable variables = model::DocumentBlock::readVariables(m_source.block);
    if (!hasExpressions(scene) && variables.variableNames().isEmpty())
        return;
    model::Corvane copy;
    copy.setVariables(variables);
    copy.exchangeItems({}, scene.instances());
    expr::ExpressionManager expressions(&copy);
    expressions.evaluateAll();
    check(copy, expressions);
    if (!tellsUnread)
        return;
    const auto items = scene.items();
    for (const model::SceneItem &item : items) {
        if (item.itemType == model::ItemTypes::Sdf)
            checkUnread(Instance(item), copy.instance(item.id));
    }
}

ExpressionCheck::Place ExpressionCheck::placeOf(const Instance &instance,
                                                const QString &parameter) const
{
    using Role = model::SDFNodeProvenance::Role;
    const model::SDFNodeProvenance from = instance.provenance();
    const bool isOfNode = m_source.version >= 2 && instance.hasProvenance();
    const QString name = isOfNode ? from.sourceItemName : instance.name;
    const QString label = name.isEmpty() ? instance.id.toString(QUuid::WithoutBraces) : shown(name);
    KeyPath path = m_source.at(u"instances"_s) + KeyPath{name};
    if (isOfNode && from.role != Role::Core)
        return {u"%1.%2.%3"_s.arg(label, instance.definitionId(), shown(parameter)),
                path + KeyPath{u"wrappers"_s, instance.definitionId(), parameter}};
    return {label + u'.' + shown(parameter), path + KeyPath{u"params"_s, parameter}};
}

ExpressionCheck::Place ExpressionCheck::placeOfVariable(const QString &name) const
{
    const bool isUnnamed = m_source.block.value(u"varset"_s).toMap().contains(name);
    const QString varset = name.section(u'.', 0, 0);
    return isUnnamed ? Place{u"varset."_s + shown(name), m_source.at(u"varset"_s) + KeyPath{name}}
                     : Place{u"varsets."_s + shown(name),
                             m_source.at(u"varsets"_s) + KeyPath{varset, name.section(u'.', 1)}};
}

void ExpressionCheck::addFailure(const model::Corvane &scene,
                                 const expr::ExpressionManager &expressions,
                                 const ExpressionFailure &failure) const
{
    const Instance instance = scene.instance(failure.instanceId);
    const Place place = failure.instanceId.isNull() ? placeOfVariable(failure.name)
                                                    : placeOf(instance, failure.name);
    const QString text = shownValue(QVariant(u'=' + failure.expression));
    const QString instead = insteadOf(failure, instance);
    if (!failure.cycle.isEmpty()) {
        const QStringList circle = failure.cycle + QStringList(failure.cycle.first());
        return m_findings.addNamed(place.where, place.path,
                                   u"%1 reads itself in a circle (%2), %3"_s.arg(
                                       text, circle.mid(0, 8).join(u" > "_s), instead),
                                   u"Let one of them be a plain value"_s);
    }
    if (failure.message.isEmpty())
        return m_findings.addNamed(place.where, place.path,
                                   u"%1 reads what goes round in a circle, %2"_s.arg(text, instead),
                                   u"Break the circle first"_s);
    m_findings.addNamed(place.where, place.path,
                        u"%1 gives no value (%2), %3"_s.arg(text, reasonOf(failure), instead),
                        m_findings.isFull()
                            ? QString()
                            : remedyOf(failure, expressions.context(), m_source.variables));
}

/// What an expression gives has to fit its parameter as a literal has.
void ExpressionCheck::checkValues(const Instance &instance) const
{
    const QVariantMap params = instance.rawParams();
    for (auto it = params.cbegin(); it != params.cend(); ++it) {
        const auto value = model::ParameterValue::fromVariant(*it);
        if (!value.isExpression() || !value.fallback.isValid())
            continue;
        const auto parameter = parameterOf(instance, it.key());
        const auto flaw = parameter ? valueFlaw(*parameter, value.fallback, {}) : std::nullopt;
        if (!flaw)
            continue;
        const Place place = placeOf(instance, it.key());
        m_findings.addNamed(
            place.where, place.path,
            u"%1: %2"_s.arg(shownValue(QVariant(u'=' + value.expression)), flaw->what),
            u"Correct the expression or what it reads"_s);
    }
}

void ExpressionCheck::checkUnread(const Instance &used, const Instance &meant) const
{
    const QVariantMap params = used.rawParams();
    for (auto it = params.cbegin(); it != params.cend(); ++it) {
        const auto value = model::ParameterValue::fromVariant(*it);
        const QVariant given = meant.parameter(it.key());
        if (!value.isExpression() || isSame(value.fallback, given))
            continue;
        const Place place = placeOf(used, it.key());
        const auto parameter = parameterOf(used, it.key());
        const QVariant taken =
            value.fallback.isValid() || !parameter ? value.fallback : parameter->defaultValue;
        m_findings.addNamed(
            place.where, place.path,
            u"%1 is %2, but the variables of a version 2 file are not read, so %3 is used"_s.arg(
                shownValue(QVariant(value.expression)), shownValue(given), shownValue(taken)),
            u"Write %1 as its fallback, or save the scene as version 1"_s.arg(shownValue(given)));
    }
}

} // namespace corvane::check
