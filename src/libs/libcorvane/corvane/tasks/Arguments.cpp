#include <corvane/tasks/Arguments.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

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
        return asNumber(value);
    case ArgumentKind::List:
        return asList(value);
    case ArgumentKind::Map:
        return asMap(value);
    case ArgumentKind::Id:
    case ArgumentKind::ParentId:
    case ArgumentKind::DefinitionId:
    case ArgumentKind::Text:
        return value.canConvert<QString>() ? QVariant(value.toString()) : value;
    case ArgumentKind::Flag:
    case ArgumentKind::Value:
        break;
    }
    return value;
}

bool isGiven(const ParamRow &param, const QVariant &value)
{
    const bool mayBeEmpty = param.kind != ArgumentKind::Id && param.kind != ArgumentKind::Text &&
                            param.kind != ArgumentKind::DefinitionId;
    return value.isValid() && (mayBeEmpty || !value.toString().isEmpty());
}

} // namespace

std::span<const ParamRow> TaskRow::arguments() const
{
    const auto end = std::find_if(params.begin(), params.end(),
                                  [](const ParamRow &param) { return param.name.isEmpty(); });
    return {params.begin(), end};
}

QVariantMap knownArguments(const TaskRow &row, const ZirnTaskParams &arguments)
{
    QVariantMap known;
    for (const ParamRow &param : row.arguments()) {
        const QVariant value = arguments.value(param.name);
        if (!value.isNull())
            known.insert(param.name, typed(param.kind, value));
    }
    return known;
}

const ParamRow *missingArgument(const TaskRow &row, const QVariantMap &arguments)
{
    for (const ParamRow &param : row.arguments()) {
        if (param.isRequired && !isGiven(param, arguments.value(param.name)))
            return &param;
    }
    return nullptr;
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
