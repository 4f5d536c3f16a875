#pragma once

#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace corvane::zirn {

struct SceneAccess;

// What the definition of an item says of parameters that a call gives it. Nothing is known, and so
// nothing said, of components and of definitions that the registry lacks.

/// Why a value can't be that of its parameter, such as "radius must be a number, not 'big'"; empty
/// when all can.
QString parameterFlaw(const SceneAccess &access, const QUuid &itemId,
                      const QVariantMap &parameters);
/// The same for an item to be made of a definition.
QString parameterFlaw(const QString &definitionId, const QVariantMap &parameters);
/// A sentence about parameters that nothing reads, which are stored all the same: another
/// definition may know them. Begins with a blank; empty when all are read.
QString unreadParameters(const SceneAccess &access, const QUuid &itemId,
                         const QVariantMap &parameters);

} // namespace corvane::zirn
