#pragma once

#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace corvane::model {

/// Where a compiled item comes from.
struct SDFNodeProvenance
{
    enum class Role {
        Unknown = 0,
        Core = 1,
        WrapperTranslate = 2,
        WrapperRotate = 3,
        WrapperScale = 4,
        OperatorSlot = 5,
        OperatorSlotEmpty = 6,
        ConvenienceWrapper = 7,
    };

    QUuid compiledId{};   ///< the compiled item itself
    QUuid sourceItemId{}; ///< the logical node
    QString sourceItemName{};
    Role role = Role::Unknown;
    QString roleDetail{};       ///< the wrapper's definition id
    QString parentCompiledId{}; ///< the compiled name of the item above; empty at a root

    /// One key a field, of the field's name; plain values, so that a file holds the same map.
    QVariantMap toVariantMap() const;
    /// A role that is none reads as Unknown.
    static SDFNodeProvenance fromVariantMap(const QVariantMap &map);

    bool operator==(const SDFNodeProvenance &) const = default;
};

/// "core", "wrapper-translate", ... "convenience-wrapper", else "unknown".
QString roleToString(SDFNodeProvenance::Role role);

/// The role of the item whose compiled name ends in `suffix`: "core", or the id of a wrapper.
SDFNodeProvenance::Role classifyRoleForSuffix(const QString &suffix);

} // namespace corvane::model
