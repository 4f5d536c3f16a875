#include <corvane/tasks/Arguments.h>

#include <corvane/model/NearestName.h>
#include <corvane/tasks/TaskJson.h>
#include <corvane/yaml/Savable.h>
#include <corvane/zirn/FailureText.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

bool isText(const QVariant &value)
{
    return value.typeId() == QMetaType::QString;
}

QVariant asNumber(const QVariant &value)
{
    bool isNumber = false;
    const double number = isText(value) ? value.toString().toDouble(&isNumber) : 0.0;
    return isNumber ? QVariant(number) : value;
}

QVariant asMap(const QVariant &value)
{
    const QVariant parsed = unquoted(value);
    return parsed.typeId() == QMetaType::QVariantMap ? parsed : value;
}

QVariant asList(const QVariant &value)
{
    const QVariant parsed = unquoted(value);
    return parsed.typeId() == QMetaType::QVariantList ? parsed : value;
}

QVariant typed(ArgumentKind kind, const QVariant &value)
{
    switch (kind) {
    case ArgumentKind::Number:
    case ArgumentKind::NumberOrExpression:
        return asNumber(value);
    case ArgumentKind::Colour:
        return asList(value);
    case ArgumentKind::Map:
        return asMap(value);
    case ArgumentKind::Id:
    case ArgumentKind::ParentId:
    case ArgumentKind::DefinitionId:
    case ArgumentKind::VarsetName:
    case ArgumentKind::Text:
    case ArgumentKind::Name:
        return value.canConvert<QString>() ? QVariant(value.toString()) : value;
    case ArgumentKind::Flag:
    case ArgumentKind::Value:
        break;
    }
    return value;
}

bool isFinite(const QVariant &value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    return isNumber && std::isfinite(number);
}

bool isExpression(const QVariant &value)
{
    return isText(value) && value.toString().size() > 1 && value.toString().startsWith(u'=');
}

bool isFlag(const QVariant &value)
{
    static const QStringList words{u"true"_s, u"false"_s, u"1"_s, u"0"_s};
    return words.contains(value.toString());
}

bool isColour(const QVariant &value)
{
    const bool isList = value.typeId() == QMetaType::QVariantList;
    const QVariantList parts = isList ? value.toList() : QVariantList();
    return (parts.size() == 3 || parts.size() == 4) &&
           std::all_of(parts.cbegin(), parts.cend(), isFinite);
}

/// What the argument must be; empty when the value is that.
QString wanted(ArgumentKind kind, const QVariant &value)
{
    switch (kind) {
    case ArgumentKind::Id:
    case ArgumentKind::ParentId:
    case ArgumentKind::DefinitionId:
    case ArgumentKind::VarsetName:
    case ArgumentKind::Text:
    case ArgumentKind::Name:
        return isText(value) ? QString() : u"a text"_s;
    case ArgumentKind::Number:
        return isFinite(value) ? QString() : u"a finite number"_s;
    case ArgumentKind::NumberOrExpression:
        return isFinite(value) || isExpression(value)
                   ? QString()
                   : u"a finite number, or \"=\" and an expression"_s;
    case ArgumentKind::Flag:
        return isFlag(value) ? QString() : u"true or false"_s;
    case ArgumentKind::Colour:
        return isColour(value) ? QString() : u"a colour as [r,g,b] or [r,g,b,a]"_s;
    case ArgumentKind::Map:
        return value.typeId() == QMetaType::QVariantMap ? QString() : u"a JSON object"_s;
    case ArgumentKind::Value:
        break;
    }
    return {};
}

/// What is amiss with a value, as the rest of a sentence; empty when nothing is.
QString flawOf(ArgumentKind kind, const QVariant &value)
{
    const QString type = wanted(kind, value);
    if (!type.isEmpty())
        return u"must be %1, not '%2'"_s.arg(type, shortened(textOf(value)));
    if (kind == ArgumentKind::Name)
        return yaml::whyUnsavableName(value.toString());
    return yaml::whyUnsavable(value);
}

bool mayBeEmpty(ArgumentKind kind)
{
    using enum ArgumentKind;
    return kind != Id && kind != DefinitionId && kind != Text && kind != Name;
}

bool isGiven(const ParamRow &param, const QVariant &value)
{
    return value.isValid() && (mayBeEmpty(param.kind) || !value.toString().isEmpty());
}

QString failureOf(const ParamRow &param, const QString &attempt, const QString &cause)
{
    return failureText({.attempt = attempt,
                        .cause = u"%1 %2"_s.arg(param.name, cause),
                        .suggestion = u"provide the "_s + param.description.toString()});
}

} // namespace

std::span<const ParamRow> TaskRow::arguments() const
{
    const auto end = std::find_if(params.begin(), params.end(),
                                  [](const ParamRow &param) { return param.name.isEmpty(); });
    return {params.begin(), end};
}

QVariantMap knownArguments(std::span<const ParamRow> params, const ZirnTaskParams &arguments)
{
    QVariantMap known;
    for (const ParamRow &param : params) {
        const QVariant value = arguments.value(param.name);
        if (!value.isNull())
            known.insert(param.name, typed(param.kind, value));
    }
    return known;
}

QString unknownArgument(const QString &attempt, std::span<const ParamRow> params,
                        const ZirnTaskParams &arguments)
{
    QStringList names;
    for (const ParamRow &param : params)
        names.append(param.name);
    const QVariantMap given = arguments.toMap();
    for (auto it = given.cbegin(); it != given.cend(); ++it) {
        if (it->isNull() || names.contains(it.key()))
            continue;
        const QString near = model::nearestName(it.key(), names);
        const QString advice =
            near.isEmpty() ? u"leave it out"_s : u"provide \"%1\" instead"_s.arg(near);
        const QString known = names.isEmpty() ? u"the task takes no arguments"_s
                                              : u"the task takes "_s + names.join(u", "_s);
        return failureText({.attempt = attempt,
                            .cause = u"unknown argument '%1'"_s.arg(shortened(it.key())),
                            .suggestion = advice + u"; "_s + known});
    }
    return {};
}

QString unfitArgument(const QString &attempt, std::span<const ParamRow> params,
                      const QVariantMap &arguments)
{
    for (const ParamRow &param : params) {
        const QVariant value = arguments.value(param.name);
        const QString flaw = value.isValid() ? flawOf(param.kind, value) : QString();
        if (!flaw.isEmpty())
            return failureOf(param, attempt, flaw);
    }
    return {};
}

QString argumentFlaw(const QString &attempt, std::span<const ParamRow> params,
                     const QVariantMap &arguments)
{
    for (const ParamRow &param : params) {
        if (param.isRequired && !isGiven(param, arguments.value(param.name)))
            return failureOf(param, attempt, u"is required"_s);
    }
    return unfitArgument(attempt, params, arguments);
}

QVariant unquoted(const QVariant &value)
{
    if (!isText(value))
        return value;
    const QString text = value.toString().trimmed();
    if (text == "true"_L1 || text == "false"_L1)
        return text == "true"_L1;
    if (text.startsWith(u'[') || text.startsWith(u'{')) {
        const QVariant parsed = QJsonDocument::fromJson(text.toUtf8()).toVariant();
        return parsed.isValid() ? parsed : value;
    }
    return asNumber(text).typeId() == QMetaType::Double ? asNumber(text) : value;
}

} // namespace corvane::zirn
