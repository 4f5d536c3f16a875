#pragma once

#include <corvane/shader/SDFNode.h>

#include <QList>

namespace corvane::shader {

/// Entries of the stack that the tree evaluator of the shaders has: `MAX_STACK_DEPTH` there.
inline constexpr int walkStackDepth = 32;

/// How many entries of that stack the scene needs: one for each transform around a node, and one
/// for each operator of which a node is in a later child. Modifiers, first children, and any number
/// of children and roots need none. Beyond walkStackDepth the evaluator leaves parts out.
/// @param rootIndex  the first of a chain of roots
[[nodiscard]] int neededWalkDepth(const QList<SDFNode> &nodes, int rootIndex);

} // namespace corvane::shader
