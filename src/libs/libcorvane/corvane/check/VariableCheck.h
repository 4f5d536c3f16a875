#pragma once

#include <corvane/check/SceneSource.h>

namespace corvane::model {
class Corvane;
}

namespace corvane::check {

/// Warns of variables whose entries say something that is not read, or that break their own
/// constraints.
void checkVariables(const SceneSource &source, Findings &findings);

/// Warns of values of --params that no variable takes, or should not. To be asked before they are
/// applied: a value that names no variable becomes one.
void checkOverrides(const SceneSource &source, const model::Corvane &scene,
                    const QVariantMap &values, Findings &findings);

/// The names by which expressions know the variables of a block.
QStringList variableNames(const QVariantMap &block);

} // namespace corvane::check
