#pragma once

#include <corvane/model/LogicalInstance.h>
#include <corvane/ops/SceneSnapshot.h>

#include <QHash>
#include <QString>
#include <QUuid>

#include <optional>

namespace corvane::component {
struct ComponentDefinition;
}

namespace corvane::ops {

struct OpContext;

/// A component's structure as ordinary nodes of the scene.
struct MaterializedBranch
{
    QUuid rootId{};
    QHash<QUuid, QUuid> ids{};              ///< of a node in the scene: its id in the structure
    QHash<QUuid, QString> givenNames{};     ///< of a node in the scene: the name that it got
    QHash<QUuid, QString> structureNames{}; ///< of a node in the scene: its name in the structure
};

/// Whether a definition has a root that is one of its nodes.
bool hasStructureRoot(const component::ComponentDefinition &definition);

/// Adds the nodes of a structure to the scene, with new ids and unique names. Component instances
/// among them stay what they are.
///
/// With an `instance` the branch stands for it, so that the picture stays the same: its values go
/// to the nodes that the definition promotes, and its wrappers and its transform to the root. None,
/// and nothing added, when the definition has no root.
std::optional<MaterializedBranch>
materializeDefinitionBranch(OpContext &context, const component::ComponentDefinition &definition,
                            const Placement &place, const model::LogicalInstance *instance);

/// Puts what stands around `outer` around `inner` as well: `inner` then has the wrappers and the
/// transform of both. False, and nothing changed, where one stack of wrappers can't say it.
bool mergeWrappers(const model::LogicalInstance &outer, model::LogicalInstance &inner);

} // namespace corvane::ops
