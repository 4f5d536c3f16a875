#include <corvane/model/Instance.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

Instance::Instance(const QString &definitionId)
{
    setDefinitionId(definitionId);
}

bool Instance::isValid() const
{
    return !id.isNull() && !definitionId().isEmpty();
}

QString Instance::definitionId() const
{
    return typeData.value(u"type"_s).toString();
}

void Instance::setDefinitionId(const QString &definitionId)
{
    typeData.insert(u"type"_s, definitionId);
}

QVariantMap Instance::rawParams() const
{
    return typeData.value(u"params"_s).toMap();
}

void Instance::setRawParams(const QVariantMap &params)
{
    if (params.isEmpty())
        typeData.remove(u"params"_s);
    else
        typeData.insert(u"params"_s, params);
}

bool Instance::hasParameter(const QString &param) const
{
    return rawParams().contains(param);
}

QVariant Instance::parameter(const QString &param) const
{
    const QVariant stored = rawParams().value(param);
    if (stored.typeId() == qMetaTypeId<ParameterValue>() ||
        stored.typeId() == QMetaType::QVariantMap)
        return ParameterValue::fromVariant(stored).value();
    return stored;
}

ParameterValue Instance::parameterValue(const QString &param) const
{
    return ParameterValue::fromVariant(rawParams().value(param));
}

void Instance::setParameter(const QString &param, const QVariant &value)
{
    setParameters({{param, value}});
}

void Instance::setParameters(const QVariantMap &params)
{
    QVariantMap stored = rawParams();
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        stored.insert(it.key(), QVariant::fromValue(ParameterValue::fromVariant(*it)));
    setRawParams(stored);
}

void Instance::setLiteral(const QString &param, const QVariant &value)
{
    setParameter(param, QVariant::fromValue(ParameterValue::fromLiteral(value)));
}

void Instance::setExpression(const QString &param, const QString &text, const QVariant &fallback)
{
    setParameter(param, QVariant::fromValue(ParameterValue::fromExpression(text, fallback)));
}

void Instance::removeParameter(const QString &param)
{
    QVariantMap stored = rawParams();
    stored.remove(param);
    setRawParams(stored);
}

QStringList Instance::childReferences() const
{
    return parameter(u"children"_s).toStringList();
}

NodeModifiers Instance::modifiers() const
{
    NodeModifiers modifiers;
    for (const NodeModifier &modifier : nodeModifiers) {
        const auto stored = typeData.constFind(modifier.key);
        if (stored != typeData.cend())
            modifier.set(modifiers, modifier.number ? double(stored->toFloat()) : stored->toInt());
    }
    return modifiers;
}

void Instance::setModifiers(const NodeModifiers &modifiers)
{
    for (const NodeModifier &modifier : nodeModifiers)
        setModifier(modifier, modifiers);
}

void Instance::setModifier(const NodeModifier &modifier, const NodeModifiers &modifiers)
{
    const NodeModifiers usual;
    const bool isUsual = modifier.number
                             ? qFuzzyCompare(modifiers.*modifier.number, usual.*modifier.number)
                             : modifier.isSame(modifiers, usual);
    if (isUsual)
        typeData.remove(modifier.key);
    else
        typeData.insert(modifier.key, modifier.value(modifiers));
}

SDFNodeProvenance Instance::provenance() const
{
    return SDFNodeProvenance::fromVariantMap(typeData.value(u"__provenance"_s).toMap());
}

bool Instance::hasProvenance() const
{
    return typeData.contains(u"__provenance"_s);
}

void Instance::setProvenance(const SDFNodeProvenance &provenance)
{
    typeData.insert(u"__provenance"_s, provenance.toVariantMap());
}

} // namespace corvane::model
