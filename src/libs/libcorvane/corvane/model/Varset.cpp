#include <corvane/model/Varset.h>

#include <QMetaType>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

void insertIfSet(QVariantMap &map, const QString &key, const QVariant &value)
{
    if (value.isValid() && !value.isNull())
        map.insert(key, value);
}

void insertIfSet(QVariantMap &map, const QString &key, const QString &text)
{
    if (!text.isEmpty())
        map.insert(key, text);
}

/// A derived variable may leave its value to its expression.
bool isLongForm(const QVariantMap &map)
{
    return map.contains(u"value"_s) || map.contains(u"expression"_s);
}

} // namespace

bool VarsetConstraints::isEmpty() const
{
    return !min.isValid() && !max.isValid() && !step.isValid() && enumValues.isEmpty();
}

QVariantMap VarsetConstraints::toVariantMap() const
{
    QVariantMap map;
    insertIfSet(map, u"min"_s, min);
    insertIfSet(map, u"max"_s, max);
    insertIfSet(map, u"step"_s, step);
    if (!enumValues.isEmpty())
        map.insert(u"enum"_s, QVariant(enumValues).toList());
    return map;
}

VarsetConstraints VarsetConstraints::fromVariantMap(const QVariantMap &map)
{
    VarsetConstraints constraints;
    constraints.min = map.value(u"min"_s);
    constraints.max = map.value(u"max"_s);
    constraints.step = map.value(u"step"_s);
    constraints.enumValues = map.value(u"enum"_s).toStringList();
    return constraints;
}

QString VarsetEntry::effectiveType() const
{
    return type.isEmpty() ? inferType(value) : type;
}

QString VarsetEntry::inferType(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return u"number"_s;
    case QMetaType::Bool:
        return u"boolean"_s;
    case QMetaType::QVector2D:
    case QMetaType::QVector3D:
    case QMetaType::QVector4D:
        return u"vector"_s;
    default:
        return u"string"_s;
    }
}

QVariant VarsetEntry::toVariant() const
{
    const bool bare = type.isEmpty() && description.isEmpty() && unit.isEmpty() &&
                      constraints.isEmpty() && expression.isEmpty();
    // Some maps would be read back as the long form.
    if (bare && !isLongForm(value.toMap()))
        return value;
    QVariantMap map{{u"value"_s, value}};
    insertIfSet(map, u"type"_s, type);
    insertIfSet(map, u"description"_s, description);
    insertIfSet(map, u"unit"_s, unit);
    insertIfSet(map, u"expression"_s, expression);
    if (!constraints.isEmpty())
        map.insert(u"constraints"_s, constraints.toVariantMap());
    return map;
}

VarsetEntry VarsetEntry::fromVariant(const QVariant &stored)
{
    VarsetEntry entry;
    const QVariantMap map = stored.toMap();
    if (!isLongForm(map)) {
        entry.value = stored;
        return entry;
    }
    entry.value = map.value(u"value"_s);
    entry.type = map.value(u"type"_s).toString();
    entry.description = map.value(u"description"_s).toString();
    entry.unit = map.value(u"unit"_s).toString();
    entry.expression = map.value(u"expression"_s).toString();
    entry.constraints = VarsetConstraints::fromVariantMap(map.value(u"constraints"_s).toMap());
    return entry;
}

} // namespace corvane::model
