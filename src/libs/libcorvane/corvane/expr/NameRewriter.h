#pragma once

#include <corvane/expr/CompileContext.h>

#include <QString>

namespace corvane::expr {

/// What a renamed name belonged to: a variable "w" and an item "w" are two things.
enum class RenamedKind { Variable, Instance, Any };

/// Replaces the references to `oldName` in an expression, each in quotes where the new name needs
/// them. Other names that contain it, members, calls and comments stay.
/// @param context  the names as they were before; where it does not know a reference, the reference
/// is taken at
///                 its word
QString rewriteName(const QString &text, const QString &oldName, const QString &newName,
                    RenamedKind kind, const CompileContext &context);

} // namespace corvane::expr
