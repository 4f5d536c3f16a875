#pragma once

#include <corvane/tasks/TaskRow.h>

namespace corvane::zirn {

// From what a plan gives to what a task reads; see ArgumentKind.

/// The arguments of a call that are described, in the types that they should have where their texts
/// can be read so; what can't be read stays as it came. Nulls are left out.
QVariantMap knownArguments(std::span<const ParamRow> params, const ZirnTaskParams &arguments);

/// The failure of a call with an argument that the task does not know, which would be passed over;
/// empty when there is none.
QString unknownArgument(const QString &attempt, std::span<const ParamRow> params,
                        const ZirnTaskParams &arguments);
/// The failure of a call with an argument of another type than it should have; empty when there is
/// none.
QString unfitArgument(const QString &attempt, std::span<const ParamRow> params,
                      const QVariantMap &arguments);
/// The same, and before it the failure of a call that lacks a required argument.
QString argumentFlaw(const QString &attempt, std::span<const ParamRow> params,
                     const QVariantMap &arguments);

/// A text as the JSON number, list, map or truth value that it holds; anything else as it is.
QVariant unquoted(const QVariant &value);

} // namespace corvane::zirn
