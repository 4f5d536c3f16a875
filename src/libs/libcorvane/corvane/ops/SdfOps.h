#pragma once

#include <corvane/ops/OpChange.h>

namespace corvane::ops {

class OpCall;
struct OpContext;

// The ops of what is part of the field: parameters, definition, modifiers. A document's item keeps
// its parameters under "params", by whichever road they are set.

/// With a `wrapperId` the parameter of that wrapper, which is added next to the node where it has
/// none. The one that moves, turns or scales becomes the node's transform, too, since that is what
/// a compile goes by; it takes numbers alone.
OpOutcome applySdfSetParameter(OpContext &context, const OpCall &call);
void restoreParameter(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// Replaces all; references to children are none of them.
OpOutcome applySdfSetAllParameters(OpContext &context, const OpCall &call);
void restoreParameters(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// Parameters and children stay. A group becomes a node with the wrappers of the definition.
OpOutcome applySdfSetDefinition(OpContext &context, const OpCall &call);
void restoreDefinition(OpContext &context, const QUuid &itemId, const QVariantMap &state);

OpOutcome applySdfSetModifier(OpContext &context, const OpCall &call);
void restoreModifier(OpContext &context, const QUuid &itemId, const QVariantMap &state);

} // namespace corvane::ops
