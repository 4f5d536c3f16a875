#pragma once

#include <corvane/ops/OpChange.h>

namespace corvane::ops {

class OpCall;
struct OpContext;

// The ops of catalogue materials: the library's, and those that only the scene has. A scene's copy
// of a library material follows it.

OpOutcome applyMaterialAdd(OpContext &context, const OpCall &call);
/// Built-ins and the default material stay.
OpOutcome applyMaterialRemove(OpContext &context, const OpCall &call);
/// What `data` does not name stays.
OpOutcome applyMaterialUpdate(OpContext &context, const OpCall &call);
OpOutcome applyMaterialDuplicate(OpContext &context, const OpCall &call);
void restoreCatalogMaterial(OpContext &context, const QUuid &itemId, const QVariantMap &state);

void insertMaterialSnapshot(OpContext &context, const QVariantMap &snapshot);
void removeMaterialSnapshot(OpContext &context, const QVariantMap &snapshot);

} // namespace corvane::ops
