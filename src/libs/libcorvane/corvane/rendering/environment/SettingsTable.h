#pragma once

#include <corvane/registry/ParameterDef.h>

#include <QList>
#include <QStringList>
#include <QVariant>
#include <QVector3D>

#include <optional>

namespace corvane::rendering {

/// One setting: what a panel shows of it, and which texts it takes.
struct SettingRow
{
    /// Brings a value to the form that is kept; nothing when it is none.
    using Reader = std::optional<QVariant> (*)(const QVariant &value);

    registry::ParameterDef definition;
    QStringList choices{};   ///< of a text; none: any text
    Reader reader = nullptr; ///< of values that the type alone does not describe

    [[nodiscard]] static SettingRow number(const QString &name, const QString &displayName,
                                           double value, double minimum, double maximum,
                                           double step);
    [[nodiscard]] static SettingRow color(const QString &name, const QString &displayName,
                                          const QVector3D &value);
    [[nodiscard]] static SettingRow flag(const QString &name, const QString &displayName,
                                         bool value);
    [[nodiscard]] static SettingRow text(const QString &name, const QString &displayName,
                                         const QString &value, const QStringList &choices = {});

    [[nodiscard]] SettingRow described(const QString &description) const;
    [[nodiscard]] SettingRow inUnit(const QString &unit) const;
    [[nodiscard]] SettingRow readBy(Reader by) const;
};

/// Named values with their types and ranges. Numbers are kept as double, colours as QVector3D.
class SettingsTable
{
public:
    explicit SettingsTable(const QList<SettingRow> &rows = {});

    [[nodiscard]] QList<registry::ParameterDef> definitions() const;
    [[nodiscard]] QStringList choices(const QString &name) const;
    [[nodiscard]] QStringList names() const;
    /// Invalid for a name that is not known.
    [[nodiscard]] QVariant value(const QString &name) const;
    /// The form in which a value would be kept: the number of a text, the QVector3D of a QColor or
    /// of a list of three or four numbers. Nothing for an unknown name or a value that is refused.
    [[nodiscard]] std::optional<QVariant> accepted(const QString &name,
                                                   const QVariant &value) const;
    /// False, and nothing changes, where accepted() is nothing.
    bool setValue(const QString &name, const QVariant &value);

    [[nodiscard]] float number(const QString &name) const { return value(name).toFloat(); }
    [[nodiscard]] QVector3D color(const QString &name) const
    {
        return value(name).value<QVector3D>();
    }

private:
    [[nodiscard]] qsizetype indexOf(const QString &name) const;

    QList<SettingRow> m_rows;
    QList<QVariant> m_values; ///< parallel to m_rows
};

} // namespace corvane::rendering
