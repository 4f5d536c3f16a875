#pragma once

#include <corvane/ops/OpChange.h>

namespace corvane::ops {

class OpCall;
struct OpContext;

// The ops of the definitions that are saved with the scene. The registry follows.

OpOutcome applyDefinitionAdd(OpContext &context, const OpCall &call);
OpOutcome applyDefinitionRemove(OpContext &context, const OpCall &call);
OpOutcome applyDefinitionUpdate(OpContext &context, const OpCall &call);
void restoreCustomDefinition(OpContext &context, const QUuid &itemId, const QVariantMap &state);

void insertDefinitionSnapshot(OpContext &context, const QVariantMap &snapshot);
void removeDefinitionSnapshot(OpContext &context, const QVariantMap &snapshot);

} // namespace corvane::ops
