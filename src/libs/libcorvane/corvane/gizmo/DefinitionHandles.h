#pragma once

#include <corvane/gizmo/GizmoHandleSpec.h>

#include <QVariantMap>

namespace corvane::registry {
class Definition;
}

namespace corvane::gizmo {

/// Appends the handles that a definition gives its parameters, coloured by their axes.
///
/// A parameter's `gizmo` block becomes one handle, or one for each component of a vector when it
/// names no axis; a `gizmoGroup` one for each of its bindings (x, y and z, or pitch, yaw and roll).
/// A block whose type is no handle is passed over.
/// @param values  the instance's parameters as they stand; what is absent has the default
void appendHandlesFromDefinition(GizmoSpec &spec, const registry::Definition &definition,
                                 const QUuid &instance, const QVariantMap &values);

} // namespace corvane::gizmo
