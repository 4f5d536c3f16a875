#pragma once

#include <eval/internal/Value.h>

#include <QLatin1StringView>
#include <QStringView>

#include <span>

namespace eval::internal {

using Arguments = std::span<const Value>;

/// How a lane function treats arguments that are all integers.
enum class IntegerRule {
    ToFloat, ///< sqrt(2) is a float
    Keep,    ///< abs(-2), min(1, 2) stay integers
};

/// One implementation of a built-in for one number of arguments. Exactly one of the pointers is
/// set.
struct BuiltinFunction
{
    QLatin1StringView name;
    int arity = 1;
    IntegerRule integers = IntegerRule::ToFloat;
    double (*unary)(double) = nullptr;
    double (*binary)(double, double) = nullptr;
    double (*ternary)(double, double, double) = nullptr;
    Value (*general)(Arguments) = nullptr;
    bool boolVectorsOnly = false; ///< any, all, not: other arguments do not match at all
};

/// The built-in that a call runs, decided by name, number of arguments and for a few by the tag of
/// the first; null when none does. User functions have no say here.
const BuiltinFunction *findBuiltinFunction(QStringView name, int argumentCount, Type firstType);

/// Runs it. `arguments` has as many values as the arity says.
Value applyBuiltin(const BuiltinFunction &function, Arguments arguments);

/// The tag that a per-lane function gives: the shape of the first argument (of the first vector,
/// when the first is a scalar), lanes double when any argument is double, integer by `rule`,
/// otherwise float.
Type laneFunctionType(std::span<const Type> arguments, IntegerRule rule);

// The families that are more than a function of lanes, each a table in a file of its own.
std::span<const BuiltinFunction> laneFunctions();
std::span<const BuiltinFunction> vectorFunctions();
std::span<const BuiltinFunction> matrixFunctions();
std::span<const BuiltinFunction> bitFunctions();

} // namespace eval::internal
