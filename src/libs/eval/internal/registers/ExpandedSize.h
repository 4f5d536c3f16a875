#pragma once

#include <eval/internal/frontend/Ast.h>
#include <eval/internal/interpreter/Interpreter.h>

namespace eval::internal {

/// How many nodes a tree has when every call in it stands for the body of what it calls, of several
/// overloads the largest; `most` when there are as many or more, and when a function calls itself.
/// Each body is walked once, however often it is called.
qint64 expandedSize(const AstPtr &root, const FunctionTable &functions, qint64 most);

} // namespace eval::internal
