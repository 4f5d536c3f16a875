#include "DefinitionValidation.h"

#include <corvane/registry/Definition.h>

#include <QSet>

using namespace Qt::StringLiterals;

namespace corvane::registry {

namespace {

bool isGiven(const QVariant &value)
{
    return value.isValid() && !value.isNull();
}

std::optional<double> numberOf(const QVariant &value)
{
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok ? std::optional(number) : std::nullopt;
}

QString rangeError(const ParameterDef &parameter)
{
    const bool hasMin = isGiven(parameter.minValue);
    const bool hasMax = isGiven(parameter.maxValue);
    const auto min = numberOf(parameter.minValue);
    const auto max = numberOf(parameter.maxValue);
    if (hasMin && hasMax) {
        if (!min || !max)
            return u"min/max values must be numeric"_s;
        return *min < *max ? QString() : u"min value must be less than max value"_s;
    }
    if (hasMin && !min)
        return u"min value must be numeric"_s;
    if (hasMax && !max)
        return u"max value must be numeric"_s;
    return {};
}

QStringList parameterErrors(const ParameterDef &parameter, bool isDuplicate)
{
    QStringList errors;
    if (parameter.name.isEmpty())
        errors.append(u"name cannot be empty"_s);
    if (parameter.displayName.isEmpty())
        errors.append(u"display name should be specified"_s);
    if (const QString range = rangeError(parameter); !range.isEmpty())
        errors.append(range);
    if (isDuplicate)
        errors.append(u"duplicate parameter name"_s);
    return errors;
}

bool holdsFunctionOf(const QString &code, const QString &id)
{
    constexpr QLatin1StringView prefixes[] = {"sdf_"_L1, "op_"_L1, "mod_"_L1, "pam_"_L1,
                                              "field_"_L1};
    return std::any_of(std::begin(prefixes), std::end(prefixes),
                       [&](QLatin1StringView prefix) { return code.contains(prefix + id); });
}

} // namespace

QStringList validateBuiltin(const Definition &definition)
{
    QStringList errors;
    if (definition.id.isEmpty())
        errors.append(u"Primitive ID cannot be empty"_s);
    if (definition.name.isEmpty())
        errors.append(u"Primitive name cannot be empty"_s);
    if (definition.shaderCode.isEmpty())
        errors.append(u"Shader code cannot be empty"_s);
    if (definition.category.isEmpty())
        errors.append(u"Category should be specified"_s);
    if (!holdsFunctionOf(definition.shaderCode, definition.id))
        errors.append(u"Shader code should contain function 'sdf_%1', 'op_%1', or 'mod_%1'"_s.arg(
            definition.id));
    QSet<QString> names;
    for (qsizetype i = 0; i < definition.parameters.size(); ++i) {
        const ParameterDef &parameter = definition.parameters[i];
        const QString prefix = u"Parameter %1 (%2): "_s.arg(QString::number(i), parameter.name);
        for (const QString &error : parameterErrors(parameter, names.contains(parameter.name)))
            errors.append(prefix + error);
        names.insert(parameter.name);
    }
    return errors;
}

} // namespace corvane::registry
