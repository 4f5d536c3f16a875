#pragma once

#include <QLatin1StringView>
#include <QString>
#include <QStringList>

#include <array>

namespace corvane::registry {

/// The definitions that ship with the program, in the order in which they are loaded.
struct BuiltinGroup
{
    QLatin1StringView folder;  ///< under ":/sdf/"
    QLatin1StringView subject; ///< as messages call one of the group
    QStringList ids;

    /// ":/sdf/primitives/sphere.yaml"
    [[nodiscard]] QString path(const QString &id) const;
};

/// Primitives, operators, modifiers. A fixed list and no scan of a folder, so that a file that is
/// missing is noticed.
[[nodiscard]] const std::array<BuiltinGroup, 3> &builtinGroups();

} // namespace corvane::registry
