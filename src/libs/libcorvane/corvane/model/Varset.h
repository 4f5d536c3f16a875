#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

namespace corvane::model {

/// What an editor or a caller may set a variable to. Unset members are invalid or empty.
struct VarsetConstraints
{
    QVariant min{};
    QVariant max{};
    QVariant step{};
    QStringList enumValues{}; ///< key "enum"

    bool isEmpty() const;
    QVariantMap toVariantMap() const;
    static VarsetConstraints fromVariantMap(const QVariantMap &map);

    bool operator==(const VarsetConstraints &) const = default;
};

/// One variable of a scene.
struct VarsetEntry
{
    QVariant value{};
    QString type{}; ///< "number", "boolean", "string", "vector", or empty
    QString description{};
    QString unit{};
    VarsetConstraints constraints{};
    QString expression{}; ///< when set, `value` is derived from it

    /// `type`, or what inferType() makes of the value when that is empty.
    QString effectiveType() const;
    /// "number" for integers and floats, "boolean", "vector" for Qt's vectors, else "string".
    static QString inferType(const QVariant &value);

    /// The bare value when nothing else is set and the value would be read back as one; else the
    /// map.
    QVariant toVariant() const;
    /// A map that holds "value" or "expression" is the long form; anything else is a bare value.
    static VarsetEntry fromVariant(const QVariant &stored);

    bool operator==(const VarsetEntry &) const = default;
};

} // namespace corvane::model
