#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/shader/SDFNode.h>

#include <QList>

#include <atomic>

namespace corvane::eval {
class DefinitionTable;
}

namespace corvane::rendering {

/// The box of a field, for a camera to stand before and for rays to stay in.
struct SceneBox
{
    BoundingVolume box;    ///< empty when none was found
    bool isProved = false; ///< nothing of the field lies outside

    bool operator==(const SceneBox &) const = default;
};

/// Looks for it as an export with autoBounds does: tens of milliseconds to a second. Any thread;
/// empty when `cancelFlag` was raised.
SceneBox findSceneBox(const QList<shader::SDFNode> &nodes, int rootIndex,
                      const eval::DefinitionTable &definitions, int threads,
                      const std::atomic_bool &cancelFlag);

} // namespace corvane::rendering
