#pragma once

#include <eval/internal/Builtin.h>
#include <eval/internal/Value.h>

#include <span>

namespace eval::internal {

/// Runs a built-in. `arguments` has as many values as its arity says.
Value applyBuiltin(const Builtin &builtin, Arguments arguments);

/// The tag that a per-lane function gives: the shape of the first argument (of the first vector,
/// when the first is a scalar), lanes double when any argument is double, integer by `rule`,
/// otherwise float.
Type laneFunctionType(std::span<const Type> arguments, IntegerRule rule);

} // namespace eval::internal
