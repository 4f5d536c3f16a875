#pragma once

#include <eval/internal/frontend/Ast.h>

#include <QStringList>

/// Trees and diagnostics as text, so that a test reads as the grammar does.
namespace asttext {

/// A tree on one line with explicit grouping: "(a + (b * c))".
QString text(const eval::internal::AstPtr &node);
/// "line:column message" of each diagnostic.
QStringList texts(const QList<eval::Diagnostic> &diagnostics);

} // namespace asttext
