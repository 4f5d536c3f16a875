#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/eval/DefinitionTable.h>
#include <corvane/shader/SDFNode.h>

#include <QList>

namespace corvane::eval {
struct CompiledField;
}
namespace corvane::model {
class Corvane;
}

namespace corvane::camera {

/// The box of what a node array draws, for framing it: found by probing, and proved where that is
/// cheap. Empty when there is nothing, or what there is has no end.
/// @param rootIndex  the first of a chain of roots
[[nodiscard]] BoundingVolume fieldAabb(const QList<shader::SDFNode> &nodes, int rootIndex,
                                       const eval::DefinitionTable &definitions);
/// Of a field that is compiled for Backend::Interpreted.
[[nodiscard]] BoundingVolume fieldAabb(const eval::CompiledField &field);

/// The union of the boxes of all that a scene draws as fields: the roots of each domain together.
/// Takes tens of milliseconds. On the document's thread.
[[nodiscard]] BoundingVolume sceneAabb(const model::Corvane &scene);

} // namespace corvane::camera
