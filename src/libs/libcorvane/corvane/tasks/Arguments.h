#pragma once

#include <corvane/tasks/TaskRow.h>

namespace corvane::zirn {

struct SceneAccess;

/// The arguments of a call that its row knows, in the types that the row asks for where their texts
/// can be read so; what can't be read stays as it came, for the op to refuse. Nulls are left out.
QVariantMap knownArguments(const TaskRow &row, const ZirnTaskParams &arguments);

/// The first required argument that isn't there; none when all are.
const ParamRow *missingArgument(const TaskRow &row, const QVariantMap &arguments);

/// A text as the JSON number, list, map or truth value that it holds; anything else as it is.
QVariant unquoted(const QVariant &value);

} // namespace corvane::zirn
