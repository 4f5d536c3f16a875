#include <corvane/registry/ParameterDef.h>

#include <corvane/yaml/PlainValue.h>

using namespace Qt::StringLiterals;

namespace corvane::registry {

using yaml::decimalOf;
using yaml::isNumber;
using yaml::plainValue;

namespace {

// The first word of a row is the one that is written.
constexpr QLatin1StringView typeWords[][4] = {
    {"decimal"_L1, "float"_L1, "double"_L1},
    {"int"_L1, "integer"_L1},
    {"bool"_L1, "boolean"_L1},
    {"vec2"_L1},
    {"vec3"_L1},
    {"vec4"_L1},
    {"color"_L1, "colour"_L1},
    {"string"_L1, "text"_L1},
    {"sdf_child"_L1, "sdfchild"_L1, "child"_L1},
    {"sdf_children"_L1, "sdfchildren"_L1, "children"_L1},
};
static_assert(std::size(typeWords) == std::size_t(SDFParameterType::SDFChildren) + 1);

constexpr QLatin1StringView hintWords[] = {
    ""_L1, "Slider"_L1, "SpinBox"_L1, "ColorPicker"_L1, "Angle"_L1, "Distance"_L1, "Percentage"_L1,
};
static_assert(std::size(hintWords) == std::size_t(UIHint::Percentage) + 1);

constexpr QLatin1StringView mappingWords[] = {
    "linear"_L1, "logarithmic"_L1, "exponential"_L1, "multiplicative"_L1, "symmetric-signed-log"_L1,
};
static_assert(std::size(mappingWords) == std::size_t(DragSpec::Mapping::SymmetricSignedLog) + 1);

// A number stands for the enumerator itself, as long as there is one.
template<class Enum>
std::optional<Enum> enumeratorOf(const QVariant &value, std::size_t count)
{
    if (!isNumber(value))
        return std::nullopt;
    const qlonglong number = value.toLongLong();
    return number >= 0 && number < qlonglong(count) ? Enum(int(number)) : Enum{};
}

SDFParameterType typeOf(const QVariant &value)
{
    const auto number = enumeratorOf<SDFParameterType>(value, std::size(typeWords));
    return number ? *number : sdfParameterTypeFromString(value.toString());
}

UIHint hintOf(const QVariant &value)
{
    const auto number = enumeratorOf<UIHint>(value, std::size(hintWords));
    return number ? *number : uiHintFromString(value.toString());
}

DragSpec::Mapping mappingOf(const QString &word)
{
    const QString lower = word.trimmed().toLower();
    const auto *const found = std::find(std::begin(mappingWords), std::end(mappingWords), lower);
    return found == std::end(mappingWords)
               ? DragSpec::Mapping::Linear
               : DragSpec::Mapping(int(found - std::begin(mappingWords)));
}

std::optional<QVector3D> threeFloats(const QVariant &value)
{
    const QVariantList list = value.toList();
    if (list.size() < 3)
        return std::nullopt;
    return QVector3D(list[0].toFloat(), list[1].toFloat(), list[2].toFloat());
}

void insertUnless(QVariantMap &map, const QString &key, const QVariant &value,
                  const QVariant &standard)
{
    if (value != standard)
        map.insert(key, value);
}

void insertVector(QVariantMap &map, const QString &key, const std::optional<QVector3D> &vector)
{
    if (vector)
        map.insert(key, plainValue(*vector));
}

} // namespace

QString sdfParameterTypeToString(SDFParameterType type)
{
    const auto number = std::size_t(type);
    return number < std::size(typeWords) ? QString(typeWords[number][0]) : u"unknown"_s;
}

SDFParameterType sdfParameterTypeFromString(QStringView word)
{
    const QString lower = word.trimmed().toString().toLower();
    for (std::size_t i = 0; i < std::size(typeWords); ++i) {
        for (const QLatin1StringView known : typeWords[i]) {
            if (!known.isEmpty() && lower == known)
                return SDFParameterType(int(i));
        }
    }
    return SDFParameterType::Float;
}

QString uiHintToString(UIHint hint)
{
    const auto number = std::size_t(hint);
    return number < std::size(hintWords) ? QString(hintWords[number]) : QString();
}

UIHint uiHintFromString(QStringView word)
{
    const auto *const found = std::find(std::begin(hintWords), std::end(hintWords), word);
    return found == std::end(hintWords) ? UIHint::Default
                                        : UIHint(int(found - std::begin(hintWords)));
}

DragSpec DragSpec::fromVariantMap(const QVariantMap &map)
{
    DragSpec spec;
    spec.mapping = mappingOf(map.value(u"mapping"_s).toString());
    spec.bounded = map.value(u"bounded"_s, spec.bounded).toBool();
    spec.deltaAtMin = map.value(u"deltaAtMin"_s, spec.deltaAtMin).toDouble();
    spec.deltaAtMax = map.value(u"deltaAtMax"_s, spec.deltaAtMax).toDouble();
    spec.sensitivity = map.value(u"sensitivity"_s, spec.sensitivity).toDouble();
    spec.pivot = map.value(u"pivot"_s, spec.pivot).toDouble();
    spec.linearCore = map.value(u"linearCore"_s, spec.linearCore).toDouble();
    spec.signLock = map.value(u"signLock"_s, spec.signLock).toBool();
    return spec;
}

QVariantMap DragSpec::toVariantMap() const
{
    const DragSpec standard;
    // The mapping is always there, so that a spec of nothing but defaults is no empty map.
    QVariantMap map{{u"mapping"_s, QString(mappingWords[int(mapping)])}};
    insertUnless(map, u"bounded"_s, bounded, standard.bounded);
    insertUnless(map, u"deltaAtMin"_s, deltaAtMin, standard.deltaAtMin);
    insertUnless(map, u"deltaAtMax"_s, deltaAtMax, standard.deltaAtMax);
    insertUnless(map, u"sensitivity"_s, sensitivity, standard.sensitivity);
    insertUnless(map, u"pivot"_s, pivot, standard.pivot);
    insertUnless(map, u"linearCore"_s, linearCore, standard.linearCore);
    insertUnless(map, u"signLock"_s, signLock, standard.signLock);
    return map;
}

GizmoSpec GizmoSpec::fromVariantMap(const QVariantMap &map)
{
    GizmoSpec spec;
    spec.type = map.value(u"type"_s).toString();
    spec.axis = threeFloats(map.value(u"axis"_s));
    spec.symmetric = map.value(u"symmetric"_s, spec.symmetric).toBool();
    spec.scale = map.value(u"scale"_s, spec.scale).toFloat();
    spec.offset = threeFloats(map.value(u"offset"_s));
    spec.offsetParam = map.value(u"offsetParam"_s).toString();
    spec.rotation = threeFloats(map.value(u"rotation"_s));
    return spec;
}

QVariantMap GizmoSpec::toVariantMap() const
{
    QVariantMap map{{u"type"_s, type}};
    insertVector(map, u"axis"_s, axis);
    insertUnless(map, u"symmetric"_s, symmetric, false);
    insertUnless(map, u"scale"_s, decimalOf(scale), 1.0);
    insertVector(map, u"offset"_s, offset);
    insertUnless(map, u"offsetParam"_s, offsetParam, QString());
    insertVector(map, u"rotation"_s, rotation);
    return map;
}

GizmoGroupSpec GizmoGroupSpec::fromVariantMap(const QVariantMap &map)
{
    GizmoGroupSpec spec;
    spec.type = map.value(u"type"_s).toString();
    const QVariantMap bindings = map.value(u"bindings"_s).toMap();
    for (auto it = bindings.cbegin(); it != bindings.cend(); ++it)
        spec.bindings.insert(it.key(), it.value().toString());
    return spec;
}

QVariantMap GizmoGroupSpec::toVariantMap() const
{
    QVariantMap paths;
    for (auto it = bindings.cbegin(); it != bindings.cend(); ++it)
        paths.insert(it.key(), it.value());
    return {{u"type"_s, type}, {u"bindings"_s, paths}};
}

ParameterDef ParameterDef::fromVariantMap(const QVariantMap &map)
{
    ParameterDef def;
    def.name = map.value(u"name"_s).toString();
    def.displayName = map.value(u"displayName"_s).toString();
    def.description = map.value(u"description"_s).toString();
    def.type = typeOf(map.value(u"type"_s));
    def.uiHint = hintOf(map.value(u"uiHint"_s));
    def.defaultValue = map.value(u"defaultValue"_s);
    def.minValue = map.value(u"minValue"_s);
    def.maxValue = map.value(u"maxValue"_s);
    def.unit = map.value(u"unit"_s).toString();
    def.section = map.value(u"section"_s).toString();
    def.stepValue = map.value(u"stepValue"_s);
    def.required = map.value(u"required"_s, def.required).toBool();
    def.minChildren = map.value(u"minChildren"_s, def.minChildren).toInt();
    def.maxChildren = map.value(u"maxChildren"_s, def.maxChildren).toInt();
    def.childDisplayPattern = map.value(u"childDisplayPattern"_s).toString();
    if (const QVariantMap drag = map.value(u"drag"_s).toMap(); !drag.isEmpty())
        def.drag = DragSpec::fromVariantMap(drag);
    if (const QVariantMap gizmo = map.value(u"gizmo"_s).toMap(); !gizmo.isEmpty())
        def.gizmo = GizmoSpec::fromVariantMap(gizmo);
    return def;
}

QVariantMap ParameterDef::toVariantMap() const
{
    QVariantMap map{{u"name"_s, name}, {u"type"_s, sdfParameterTypeToString(type)}};
    const ParameterDef standard;
    insertUnless(map, u"displayName"_s, displayName, QString());
    insertUnless(map, u"description"_s, description, QString());
    insertUnless(map, u"uiHint"_s, uiHintToString(uiHint), QString());
    insertUnless(map, u"defaultValue"_s, plainValue(defaultValue), QVariant());
    insertUnless(map, u"minValue"_s, plainValue(minValue), QVariant());
    insertUnless(map, u"maxValue"_s, plainValue(maxValue), QVariant());
    insertUnless(map, u"unit"_s, unit, QString());
    insertUnless(map, u"section"_s, section, QString());
    insertUnless(map, u"stepValue"_s, plainValue(stepValue), QVariant());
    insertUnless(map, u"required"_s, required, standard.required);
    insertUnless(map, u"minChildren"_s, minChildren, standard.minChildren);
    insertUnless(map, u"maxChildren"_s, maxChildren, standard.maxChildren);
    insertUnless(map, u"childDisplayPattern"_s, childDisplayPattern, QString());
    if (drag)
        map.insert(u"drag"_s, drag->toVariantMap());
    if (gizmo)
        map.insert(u"gizmo"_s, gizmo->toVariantMap());
    return map;
}

} // namespace corvane::registry
