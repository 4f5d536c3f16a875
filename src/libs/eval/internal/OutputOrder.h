#pragma once

#include <eval/internal/frontend/DiagnosticList.h>

#include <QList>
#include <QStringList>

namespace eval::internal {

/// An order of evaluation: outputs by index, each after all that it reads.
struct OutputOrder
{
    QList<qsizetype> order;     ///< complete even where there are cycles
    DiagnosticList diagnostics; ///< "circular dependency: ...", the members of each cycle once
};

/// Depth first from each output in declaration order, on a stack of its own: a chain of outputs may
/// be long.
/// @param reads  for each output the outputs that it reads
OutputOrder orderOutputs(const QStringList &names, const QList<QList<qsizetype>> &reads);

} // namespace eval::internal
