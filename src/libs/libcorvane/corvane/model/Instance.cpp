#include <corvane/model/Instance.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr float defaultBlendSharpness = 0.7f;
constexpr int defaultMaterialMode = 2;
constexpr float defaultDensityScale = 1.0f;
constexpr float defaultShellThickness = 0.0f;

} // namespace

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

float Instance::blendSharpness() const
{
    return modifier(u"blendSharpness"_s, defaultBlendSharpness);
}

void Instance::setBlendSharpness(float value)
{
    setModifier(u"blendSharpness"_s, value, defaultBlendSharpness);
}

int Instance::materialMode() const
{
    return typeData.value(u"materialMode"_s, defaultMaterialMode).toInt();
}

void Instance::setMaterialMode(int mode)
{
    if (mode == defaultMaterialMode)
        typeData.remove(u"materialMode"_s);
    else
        typeData.insert(u"materialMode"_s, mode);
}

float Instance::densityScale() const
{
    return modifier(u"densityScale"_s, defaultDensityScale);
}

void Instance::setDensityScale(float value)
{
    setModifier(u"densityScale"_s, value, defaultDensityScale);
}

float Instance::shellThickness() const
{
    return modifier(u"shellThickness"_s, defaultShellThickness);
}

void Instance::setShellThickness(float value)
{
    setModifier(u"shellThickness"_s, value, defaultShellThickness);
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

float Instance::modifier(const QString &key, float defaultValue) const
{
    const auto stored = typeData.constFind(key);
    return stored == typeData.cend() ? defaultValue : stored->toFloat();
}

void Instance::setModifier(const QString &key, float value, float defaultValue)
{
    if (qFuzzyCompare(value, defaultValue))
        typeData.remove(key);
    else
        typeData.insert(key, value);
}

} // namespace corvane::model
