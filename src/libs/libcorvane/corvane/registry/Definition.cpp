#include <corvane/registry/Definition.h>

#include <corvane/yaml/PlainValue.h>

#include <QCryptographicHash>
#include <QSet>

using namespace Qt::StringLiterals;

namespace corvane::registry {

namespace {

// The fields that are one text under one key, read and written alike.
struct TextField
{
    QLatin1StringView key;
    QString Definition::*field;
};
constexpr TextField textFields[] = {
    {"id"_L1, &Definition::id},
    {"name"_L1, &Definition::name},
    {"description"_L1, &Definition::description},
    {"category"_L1, &Definition::category},
    {"author"_L1, &Definition::author},
    {"version"_L1, &Definition::version},
    {"shaderCode"_L1, &Definition::shaderCode},
    {"blend"_L1, &Definition::blend},
    {"previewImage"_L1, &Definition::previewImage},
    {"previewScene"_L1, &Definition::previewScene},
    {"validationCode"_L1, &Definition::validationCode},
    {"primaryFunctionName"_L1, &Definition::primaryFunctionName},
};

// A vector counts with its components, whichever type holds it.
QString hashText(const QVariant &value)
{
    const QVariant plain = yaml::plainValue(value);
    if (plain.typeId() != QMetaType::QVariantList)
        return value.toString();
    QStringList components;
    for (const QVariant &component : plain.toList())
        components.append(QString::number(component.toFloat(), 'g', 9));
    return components.join(u' ');
}

QByteArray hashOf(const Definition &definition)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(definition.shaderCode.trimmed().toUtf8());
    hash.addData(definition.blend.trimmed().toUtf8());
    QList<ParameterDef> parameters = definition.parameters;
    std::stable_sort(parameters.begin(), parameters.end(),
                     [](const ParameterDef &a, const ParameterDef &b) { return a.name < b.name; });
    for (const ParameterDef &parameter : std::as_const(parameters)) {
        hash.addData(parameter.name.toUtf8());
        hash.addData(QByteArray::number(int(parameter.type)));
        hash.addData(hashText(parameter.defaultValue).toUtf8());
    }
    return hash.result();
}

} // namespace

QSharedPointer<Definition> Definition::fromVariantMap(const QVariantMap &map)
{
    auto definition = QSharedPointer<Definition>::create();
    for (const TextField &text : textFields)
        (*definition).*text.field = map.value(text.key).toString();
    definition->sortOrder = map.value(u"sortOrder"_s).toInt();
    definition->tags = map.value(u"tags"_s).toStringList();
    definition->convenienceWrappers = map.value(u"convenience_wrappers"_s).toStringList();
    definition->enabled = map.value(u"enabled"_s, true).toBool();
    if (map.contains(u"nodeType"_s))
        definition->nodeType = nodeTypeFromString(map.value(u"nodeType"_s).toString());
    definition->isOperator = map.value(u"isOperator"_s, false).toBool();
    definition->operationType = map.value(u"operationType"_s, -1).toInt();
    const QVariantList parameters = map.value(u"parameters"_s).toList();
    for (const QVariant &parameter : parameters)
        definition->parameters.append(ParameterDef::fromVariantMap(parameter.toMap()));
    if (const QVariantMap group = map.value(u"gizmoGroup"_s).toMap(); !group.isEmpty())
        definition->gizmoGroup = GizmoGroupSpec::fromVariantMap(group);
    return definition;
}

QVariantMap Definition::toVariantMap() const
{
    QVariantMap map;
    for (const TextField &text : textFields)
        map.insert(text.key, this->*text.field);
    map.insert(u"sortOrder"_s, sortOrder);
    map.insert(u"fromResources"_s, isFromResources());
    map.insert(u"enabled"_s, enabled);
    map.insert(u"nodeType"_s, nodeTypeToString(nodeType));
    map.insert(u"isOperator"_s, isOperator);
    map.insert(u"operationType"_s, operationType);
    QVariantList parameterMaps;
    for (const ParameterDef &parameter : parameters)
        parameterMaps.append(parameter.toVariantMap());
    map.insert(u"parameters"_s, parameterMaps);
    map.insert(u"tags"_s, yaml::plainValue(tags));
    map.insert(u"convenience_wrappers"_s, yaml::plainValue(convenienceWrappers));
    if (gizmoGroup)
        map.insert(u"gizmoGroup"_s, gizmoGroup->toVariantMap());
    return map;
}

bool Definition::isValid() const
{
    if (id.isEmpty() || name.isEmpty() || shaderCode.isEmpty())
        return false;
    QSet<QString> names;
    for (const ParameterDef &parameter : parameters) {
        if (parameter.name.isEmpty() || names.contains(parameter.name))
            return false;
        names.insert(parameter.name);
    }
    return true;
}

QVariantMap Definition::getDefaultParameters() const
{
    QVariantMap defaults;
    for (const ParameterDef &parameter : parameters)
        defaults.insert(parameter.name, parameter.defaultValue);
    return defaults;
}

const ParameterDef *Definition::parameter(QStringView parameterName) const
{
    const auto found = std::find_if(
        parameters.cbegin(), parameters.cend(),
        [parameterName](const ParameterDef &def) { return def.name == parameterName; });
    return found == parameters.cend() ? nullptr : &*found;
}

const ParameterDef *Definition::childParameter() const
{
    const auto found = std::find_if(parameters.cbegin(), parameters.cend(),
                                    [](const ParameterDef &def) { return def.isChildParameter(); });
    return found == parameters.cend() ? nullptr : &*found;
}

int Definition::minChildren() const
{
    const ParameterDef *children = childParameter();
    if (!children)
        return 0;
    if (children->type == SDFParameterType::SDFChild)
        return children->required ? 1 : 0;
    return children->minChildren;
}

int Definition::maxChildren() const
{
    const ParameterDef *children = childParameter();
    if (!children)
        return 0;
    return children->type == SDFParameterType::SDFChild ? 1 : children->maxChildren;
}

QByteArray Definition::contentHash() const
{
    // Compared against what was hashed, since the fields are open to everybody; shared strings and
    // lists make that cheap.
    HashCache &cache = m_hashCache;
    if (cache.hash.isEmpty() || cache.shaderCode != shaderCode || cache.blend != blend ||
        cache.parameters != parameters)
        cache = {.shaderCode = shaderCode,
                 .blend = blend,
                 .parameters = parameters,
                 .hash = hashOf(*this)};
    return cache.hash;
}

} // namespace corvane::registry
