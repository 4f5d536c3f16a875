#pragma once

#include <corvane/ops/OpChange.h>

namespace corvane::ops {

class OpCall;
struct OpContext;

// The ops of variables. An empty `varsetName` is the unnamed varset; there a name "a.b" means the
// variable b of the varset a, unless the unnamed varset has a variable of that very name.

/// An `entry` replaces all of a variable, or what it names of one; a `value` alone leaves unit,
/// description and constraints, and ends a derivation. Text that begins with "=" is an expression.
OpOutcome applyVarsetSetVariable(OpContext &context, const OpCall &call);
void restoreVariable(OpContext &context, const QUuid &itemId, const QVariantMap &state);

OpOutcome applyVarsetRemoveVariable(OpContext &context, const OpCall &call);

/// Expressions that read the variable follow.
OpOutcome applyVarsetRenameVariable(OpContext &context, const OpCall &call);
void restoreVariableName(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// Without a `beforeName` it goes to the end.
OpOutcome applyVarsetReorder(OpContext &context, const OpCall &call);
void restoreVariableOrder(OpContext &context, const QUuid &itemId, const QVariantMap &state);

OpOutcome applyVarsetAddNamed(OpContext &context, const OpCall &call);
OpOutcome applyVarsetRemoveNamed(OpContext &context, const OpCall &call);

/// Expressions that read the variable follow.
OpOutcome applyVarsetMoveEntry(OpContext &context, const OpCall &call);
void restoreEntryPlace(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// A variable, or with "entries" a whole varset.
void insertVarsetSnapshot(OpContext &context, const QVariantMap &snapshot);
void removeVarsetSnapshot(OpContext &context, const QVariantMap &snapshot);

} // namespace corvane::ops
