#pragma once

#include <corvane/expr/NameRewriter.h>

#include <QString>
#include <QVariantMap>

#include <functional>

namespace corvane::ops {

struct OpContext;

// Expressions follow a rename. Renaming back does not always give the old text (a name that was in
// quotes without need loses them), so an op that renames records the texts that it touched.

/// Every place of the scene that holds an expression: variables, items, nodes, components.
QVariantMap captureExpressions(const OpContext &context);
/// Leaves in both maps only what differs between them.
void keepDifferences(QVariantMap &before, QVariantMap &after);
/// Brings back what a map recorded; places that are gone are passed over.
void restoreExpressions(OpContext &context, const QVariantMap &expressions);

/// Does a rename that is taken back or done again. Who follows it rewrites every expression that
/// reads the name, those too that had read it in vain before: all are put back as they were.
void renameWithoutRewriting(OpContext &context, const std::function<void()> &rename);

/// Rewrites the name of a variable or an item wherever the scene's expressions read it. It has its
/// new name already.
void renameInExpressions(OpContext &context, const QString &oldName, const QString &newName,
                         expr::RenamedKind kind);

} // namespace corvane::ops
