#pragma once

#include <eval/internal/NativeTypes.h>

#include <QLatin1StringView>
#include <QList>

#include <optional>
#include <span>

namespace eval::internal {

struct BuiltinFunction;

/// How one built-in, for one number of arguments, is written in C++.
struct BuiltinEmitter
{
    using Emit = std::optional<Operand> (*)(const BuiltinEmitter &, const BuiltinFunction &,
                                            const QList<Operand> &);
    QLatin1StringView name;
    int arity = 1;
    const char *function = nullptr; ///< the C++ function or operator
    Emit write = nullptr;
};

/// All of them, for tests that go through them.
std::span<const BuiltinEmitter> builtinEmitters();

/// The call as an expression; none where the types have no C++ form.
/// @param arguments  names or members of values: they may be written more than once
std::optional<Operand> emitBuiltin(const BuiltinFunction &builtin, const QList<Operand> &arguments);

/// Whether this is the call of a function that packs lanes into one word: in a flat buffer only its
/// bits count.
bool isPacking(QStringView name);

} // namespace eval::internal
