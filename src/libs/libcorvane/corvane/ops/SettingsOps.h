#pragma once

#include <corvane/ops/OpChange.h>

namespace corvane::ops {

class OpCall;
struct OpContext;

/// Sets the value at a dotted path.
OpOutcome applySettingsSet(OpContext &context, const OpCall &call);
/// Sets many: keys are dotted paths, and a map is gone into, so that what it doesn't name stays.
OpOutcome applySettingsSetBulk(OpContext &context, const OpCall &call);
/// Why a scene file could not hold the setting: its path and its value nest in each other. Empty
/// when it could.
QString settingFlaw(const QVariantMap &args);
/// The same for many.
QString settingsFlaw(const QVariantMap &args);
void restoreSettings(OpContext &context, const QUuid &itemId, const QVariantMap &state);

} // namespace corvane::ops
