#pragma once

#include <eval/internal/Builtin.h>
#include <eval/internal/NativeTypes.h>

#include <QList>

#include <optional>

namespace eval::internal {

/// The call as an expression; none where the types have no C++ form.
/// @param arguments  names or members of values: they may be written more than once
std::optional<Operand> emitBuiltin(const Builtin &builtin, const QList<Operand> &arguments);

/// Whether this packs lanes into one word: in a flat buffer only its bits count.
bool isPacking(const Builtin &builtin);

} // namespace eval::internal
