#pragma once

#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace corvane::component {
struct ComponentDefinition;
}

namespace corvane::ops {

struct OpContext;

/// The lists of a state of components. A state is a map with any of them; both sides of a component
/// op are such states, and going to one side is applyComponentState() of it.
namespace ComponentKeys {
inline const QString removeInstances = QStringLiteral("removeInstances");
inline const QString removeDefinitions = QStringLiteral("removeDefinitions");
inline const QString updateDefinitions = QStringLiteral("updateDefinitions");
inline const QString registerDefinitions = QStringLiteral("registerDefinitions");
inline const QString librarySaves = QStringLiteral("librarySaves");
inline const QString libraryRemoves = QStringLiteral("libraryRemoves");
inline const QString restoreBranches = QStringLiteral("restoreBranches");
inline const QString restoreInstances = QStringLiteral("restoreInstances");
/// Sessions of editing that begin and end with the state, by the id of the branch's root.
inline const QString beginSessions = QStringLiteral("beginSessions");
inline const QString endSessions = QStringLiteral("endSessions");
} // namespace ComponentKeys

/// Does what the lists say, in the order of the keys above, with one structureChanged(). What can't
/// be done is logged, and the rest is done.
void applyComponentState(OpContext &context, const QVariantMap &state);
/// The same, as the `restore` of an op.
void restoreComponentState(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// The snapshot of a component instance at its place.
QVariantMap instanceSnapshot(const OpContext &context, const QUuid &id);
/// A node as it stands in a structure: what is a matter of the scene is left out of the map.
QVariantMap structureMap(const QVariantMap &snapshot);

} // namespace corvane::ops
