#include <corvane/rendering/environment/SettingsTable.h>

#include <QColor>
#include <QVector4D>

#include <algorithm>
#include <cmath>

namespace corvane::rendering {

using registry::ParameterDef;
using registry::SDFParameterType;

namespace {

constexpr double brightestColor = 100.0; ///< of one component: skies are brighter than paper

SettingRow makeRow(const QString &name, const QString &displayName, SDFParameterType type,
                   const QVariant &value)
{
    ParameterDef definition;
    definition.name = name;
    definition.displayName = displayName;
    definition.type = type;
    definition.defaultValue = value;
    return {definition};
}

bool isNumber(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}

/// Settings come from files and fields alike, so that a text that reads as a number is one.
std::optional<double> readNumber(const QVariant &value, const ParameterDef &definition)
{
    bool readable = false;
    const double number = value.toDouble(&readable);
    const bool typeFits = isNumber(value) || value.userType() == QMetaType::QString;
    if (!typeFits || !readable || !std::isfinite(number) ||
        number < definition.minValue.toDouble() || number > definition.maxValue.toDouble())
        return std::nullopt;
    return number;
}

std::optional<QVector3D> vectorOf(const QVariantList &list)
{
    if (list.size() < 3 || list.size() > 4 ||
        !std::all_of(list.cbegin(), list.cend(), [](const QVariant &v) { return isNumber(v); }))
        return std::nullopt;
    return QVector3D(list[0].toFloat(), list[1].toFloat(), list[2].toFloat());
}

std::optional<QVector3D> vectorOf(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QVector3D:
        return value.value<QVector3D>();
    case QMetaType::QVector4D:
        return value.value<QVector4D>().toVector3D();
    case QMetaType::QVariantList:
        return vectorOf(value.toList());
    case QMetaType::QColor: {
        const auto color = value.value<QColor>();
        if (!color.isValid())
            return std::nullopt;
        return QVector3D(color.redF(), color.greenF(), color.blueF());
    }
    default:
        return std::nullopt;
    }
}

std::optional<QVector3D> readColor(const QVariant &value)
{
    const auto color = vectorOf(value);
    if (!color)
        return std::nullopt;
    for (int i = 0; i < 3; ++i)
        if (!((*color)[i] >= 0.0f && (*color)[i] <= brightestColor))
            return std::nullopt;
    return color;
}

template<typename T>
std::optional<QVariant> asVariant(const std::optional<T> &value)
{
    return value ? std::optional<QVariant>(QVariant::fromValue(*value)) : std::nullopt;
}

std::optional<QVariant> readText(const QVariant &value, const QStringList &choices)
{
    if (value.userType() != QMetaType::QString ||
        (!choices.isEmpty() && !choices.contains(value.toString())))
        return std::nullopt;
    return value;
}

std::optional<QVariant> readValue(const QVariant &value, const SettingRow &row)
{
    if (row.reader)
        return row.reader(value);
    switch (row.definition.type) {
    case SDFParameterType::Float:
        return asVariant(readNumber(value, row.definition));
    case SDFParameterType::Bool:
        return value.userType() == QMetaType::Bool ? std::optional(value) : std::nullopt;
    case SDFParameterType::Color:
        return asVariant(readColor(value));
    case SDFParameterType::String:
        return readText(value, row.choices);
    case SDFParameterType::Int:
    case SDFParameterType::Vec2:
    case SDFParameterType::Vec3:
    case SDFParameterType::Vec4:
    case SDFParameterType::SDFChild:
    case SDFParameterType::SDFChildren:
        break;
    }
    return std::nullopt; // no row is made of these
}

} // namespace

SettingRow SettingRow::number(const QString &name, const QString &displayName, double value,
                              double minimum, double maximum, double step)
{
    SettingRow row = makeRow(name, displayName, SDFParameterType::Float, value);
    row.definition.minValue = minimum;
    row.definition.maxValue = maximum;
    row.definition.stepValue = step;
    return row;
}

SettingRow SettingRow::color(const QString &name, const QString &displayName,
                             const QVector3D &value)
{
    return makeRow(name, displayName, SDFParameterType::Color, value);
}

SettingRow SettingRow::flag(const QString &name, const QString &displayName, bool value)
{
    return makeRow(name, displayName, SDFParameterType::Bool, value);
}

SettingRow SettingRow::text(const QString &name, const QString &displayName, const QString &value,
                            const QStringList &choices)
{
    SettingRow row = makeRow(name, displayName, SDFParameterType::String, value);
    row.choices = choices;
    return row;
}

SettingRow SettingRow::described(const QString &description) const
{
    SettingRow row = *this;
    row.definition.description = description;
    return row;
}

SettingRow SettingRow::inUnit(const QString &unit) const
{
    SettingRow row = *this;
    row.definition.unit = unit;
    return row;
}

SettingRow SettingRow::readBy(Reader by) const
{
    SettingRow row = *this;
    row.reader = by;
    return row;
}

SettingsTable::SettingsTable(const QList<SettingRow> &rows)
    : m_rows(rows)
{
    for (const SettingRow &row : rows)
        m_values.append(row.definition.defaultValue);
}

QList<ParameterDef> SettingsTable::definitions() const
{
    QList<ParameterDef> definitions;
    for (const SettingRow &row : m_rows)
        definitions.append(row.definition);
    return definitions;
}

QStringList SettingsTable::choices(const QString &name) const
{
    const qsizetype index = indexOf(name);
    return index < 0 ? QStringList() : m_rows[index].choices;
}

QStringList SettingsTable::names() const
{
    QStringList names;
    for (const SettingRow &row : m_rows)
        names.append(row.definition.name);
    return names;
}

QVariant SettingsTable::value(const QString &name) const
{
    const qsizetype index = indexOf(name);
    return index < 0 ? QVariant() : m_values[index];
}

std::optional<QVariant> SettingsTable::accepted(const QString &name, const QVariant &value) const
{
    const qsizetype index = indexOf(name);
    return index < 0 ? std::nullopt : readValue(value, m_rows[index]);
}

bool SettingsTable::setValue(const QString &name, const QVariant &value)
{
    const auto kept = accepted(name, value);
    if (!kept)
        return false;
    m_values[indexOf(name)] = *kept;
    return true;
}

qsizetype SettingsTable::indexOf(const QString &name) const
{
    const auto found = std::find_if(m_rows.cbegin(), m_rows.cend(), [&name](const SettingRow &row) {
        return row.definition.name == name;
    });
    return found == m_rows.cend() ? -1 : std::distance(m_rows.cbegin(), found);
}

} // namespace corvane::rendering
