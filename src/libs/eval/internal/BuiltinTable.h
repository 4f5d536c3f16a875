#pragma once

#include <eval/Type.h>

#include <QLatin1StringView>
#include <QList>
#include <QStringView>

#include <span>

namespace eval::internal {

/// How the type of a built-in's result follows from the types of its arguments.
enum class BuiltinResult {
    AsFirst,       ///< the type of the first argument
    ScalarOfFirst, ///< the lane type of the first argument: length, distance, dot
    Cross,         ///< dvec3 for dvec3, vec3 for everything else
    BoolLanes,     ///< bool, or the bvec of the first argument's size
    Bool,
    Int,
    Uint,
    Float,
    Vec2,
    Vec4,
    OuterProduct, ///< columns from the second vector's size, rows from the first's
};

struct BuiltinEntry
{
    QLatin1StringView name;
    int arity = 1;
    BuiltinResult result = BuiltinResult::AsFirst;
};

/// All built-in functions, sorted by name. `atan` stands with arity 1 and takes 2 arguments as
/// well.
std::span<const BuiltinEntry> builtinTable();
/// Null for a name that is no built-in.
const BuiltinEntry *findBuiltin(QStringView name);
/// Whether a built-in takes this number of arguments.
bool builtinTakes(const BuiltinEntry &entry, qsizetype argumentCount);
/// The type of a call's result; `arguments` may be shorter than the arity where the source was in
/// error.
Type builtinResultType(const BuiltinEntry &entry, const QList<Type> &arguments);

} // namespace eval::internal
