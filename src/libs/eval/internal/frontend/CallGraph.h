#pragma once

#include <eval/internal/frontend/Ast.h>

#include <QList>
#include <QSet>
#include <QString>

namespace eval::internal {

/// The names of those functions that can reach themselves by calls, directly or through others.
/// Overloads count as one function. Linear in the size of the bodies.
QSet<QString> detectRecursion(const QList<AstPtr> &functions);

/// For each node of a graph, whether it lies on a cycle (Tarjan 1972, strongly connected
/// components, with a stack of its own: a chain may be as long as memory allows).
/// @param edges  for each node the nodes that it leads to
QList<bool> nodesOnCycles(const QList<QList<qsizetype>> &edges);

} // namespace eval::internal
