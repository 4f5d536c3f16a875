#pragma once

#include <corvane/check/SceneSource.h>

namespace corvane::check {

/// Whether a file that was read has anything of a scene: a block, or nodes at its top level. A list
/// of users or an empty file parses as a scene of nothing.
bool isScene(const QVariantMap &file);

/// Warns of what the top level and the block of a file say beside nodes, variables and settings:
/// unknown keys, units, materials, components and definitions.
void checkBlock(const QVariantMap &file, const SceneSource &source, Findings &findings);

} // namespace corvane::check
