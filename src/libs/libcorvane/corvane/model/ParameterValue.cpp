#include <corvane/model/ParameterValue.h>

#include <corvane/model/PlainValue.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

ParameterValue ParameterValue::fromLiteral(const QVariant &value)
{
    ParameterValue parameter;
    parameter.literal = value;
    return parameter;
}

ParameterValue ParameterValue::fromExpression(const QString &text, const QVariant &fallback)
{
    ParameterValue parameter;
    parameter.kind = Expression;
    parameter.expression = text;
    parameter.fallback = fallback;
    return parameter;
}

ParameterValue ParameterValue::fromVariant(const QVariant &stored)
{
    if (stored.typeId() == qMetaTypeId<ParameterValue>())
        return stored.value<ParameterValue>();
    if (stored.typeId() == QMetaType::QVariantMap) {
        const QVariantMap map = stored.toMap();
        if (const auto text = map.constFind(u"expr"_s); text != map.cend())
            return fromExpression(text->toString(), map.value(u"fallback"_s));
        if (const auto value = map.constFind(u"value"_s); value != map.cend())
            return fromLiteral(*value);
    }
    if (stored.typeId() == QMetaType::QString) {
        const QString text = stored.toString();
        if (text.startsWith(u'=') || text.startsWith(u'$'))
            return fromExpression(text.mid(1));
    }
    return fromLiteral(stored);
}

QVariantMap ParameterValue::toVariantMap() const
{
    if (!isExpression())
        return {{u"value"_s, literal}};
    QVariantMap map{{u"expr"_s, expression}};
    if (fallback.isValid())
        map.insert(u"fallback"_s, fallback);
    return map;
}

QVariant plainParamValue(const QVariant &stored)
{
    const ParameterValue parameter = ParameterValue::fromVariant(stored);
    return parameter.isExpression() ? QVariant() : parameter.literal;
}

QVariant parameterForFile(const QVariant &stored)
{
    const ParameterValue parameter = ParameterValue::fromVariant(stored);
    if (parameter.isExpression())
        return plainForFile(parameter.toVariantMap());
    const QVariant literal = plainForFile(parameter.literal);
    // Text such as "=a", and maps with certain keys, would be read back as something else.
    const bool readsBack = ParameterValue::fromVariant(literal).literal == literal;
    return readsBack ? literal : QVariant(ParameterValue::fromLiteral(literal).toVariantMap());
}

} // namespace corvane::model
