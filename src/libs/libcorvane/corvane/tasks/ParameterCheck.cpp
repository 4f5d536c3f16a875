#include <corvane/tasks/ParameterCheck.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/PlainValue.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/SceneAccess.h>
#include <corvane/tasks/TaskJson.h>
#include <corvane/zirn/FailureText.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

using registry::SDFParameterType;

QString definitionIdOf(const SceneAccess &access, const QUuid &itemId)
{
    return access.isNode(itemId) ? std::as_const(*access.tree).instance(itemId)->definitionId
                                 : access.document->instance(itemId).definitionId();
}

bool isListOf(const QVariant &value, qsizetype least, qsizetype most)
{
    const QVariantList list = model::plainForFile(value).toList();
    return list.size() >= least && list.size() <= most &&
           std::all_of(list.cbegin(), list.cend(),
                       [](const QVariant &entry) { return model::readFloat(entry).has_value(); });
}

/// What the parameter must be, when the value is not that.
QString wanted(const registry::ParameterDef &parameter, const QVariant &value)
{
    const bool isNumber = value.typeId() == QMetaType::Bool || model::readFloat(value).has_value();
    switch (parameter.type) {
    case SDFParameterType::Float:
    case SDFParameterType::Int:
    case SDFParameterType::Bool:
        return isNumber ? QString() : u"a number"_s;
    case SDFParameterType::Vec2:
        return isListOf(value, 2, 2) ? QString() : u"a list of 2 numbers"_s;
    case SDFParameterType::Vec3:
        return isListOf(value, 3, 3) ? QString() : u"a list of 3 numbers"_s;
    case SDFParameterType::Vec4:
        return isListOf(value, 4, 4) ? QString() : u"a list of 4 numbers"_s;
    case SDFParameterType::Color:
        return isListOf(value, 3, 4) ? QString() : u"a colour as [r,g,b] or [r,g,b,a]"_s;
    case SDFParameterType::String:
    case SDFParameterType::SDFChild:
    case SDFParameterType::SDFChildren:
        break;
    }
    return {};
}

} // namespace

QString parameterFlaw(const SceneAccess &access, const QUuid &itemId, const QVariantMap &parameters)
{
    return parameterFlaw(definitionIdOf(access, itemId), parameters);
}

QString parameterFlaw(const QString &definitionId, const QVariantMap &parameters)
{
    const auto definition = registry::Registry::instance().getDefinition(definitionId);
    if (!definition)
        return {};
    for (const registry::ParameterDef &parameter : std::as_const(definition->parameters)) {
        const auto given = parameters.constFind(parameter.name);
        if (given == parameters.cend())
            continue;
        const auto value = model::ParameterValue::fromVariant(*given);
        const QString type = value.isExpression() ? QString() : wanted(parameter, value.literal);
        if (!type.isEmpty())
            return u"%1 must be %2, not '%3'"_s.arg(parameter.name, type,
                                                    shortened(textOf(value.literal)));
    }
    return {};
}

QString unreadParameters(const SceneAccess &access, const QUuid &itemId,
                         const QVariantMap &parameters)
{
    const auto definition =
        registry::Registry::instance().getDefinition(definitionIdOf(access, itemId));
    if (!definition)
        return {};
    QStringList known;
    for (const registry::ParameterDef &parameter : std::as_const(definition->parameters))
        known.append(parameter.name);
    QStringList unknown;
    for (auto name = parameters.keyBegin(); name != parameters.keyEnd(); ++name) {
        if (!known.contains(*name))
            unknown.append(u'\'' + *name + u'\'');
    }
    if (unknown.isEmpty())
        return {};
    return u" NOTE: %1 has no parameter %2; it has %3."_s.arg(
        definition->id, unknown.join(u", "_s), known.isEmpty() ? u"none"_s : known.join(u", "_s));
}

} // namespace corvane::zirn
