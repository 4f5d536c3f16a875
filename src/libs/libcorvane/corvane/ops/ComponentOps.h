#pragma once

#include <corvane/ops/OpChange.h>

namespace corvane::ops {

class OpCall;
struct OpContext;

// The ops of components. All need a tree. Each change of theirs is a pair of states of
// ComponentState.h.

/// A branch becomes a component of the scene, and an instance of it stands in its place.
OpOutcome applyComponentNest(OpContext &context, const OpCall &call);
/// Several branches become one component, below a union; its instance stands where the first was.
OpOutcome applyComponentNestMulti(OpContext &context, const OpCall &call);
/// An instance becomes the nodes that it stands for. The component stays.
OpOutcome applyComponentUnnest(OpContext &context, const OpCall &call);
/// All instances become nodes, and the component goes, unless another component places it.
OpOutcome applyComponentExplode(OpContext &context, const OpCall &call);
/// Without a "structure" the definition's map changes what it names.
OpOutcome applyComponentUpdateDefinition(OpContext &context, const OpCall &call);
/// Copies the component and those that it places to the user's library.
OpOutcome applyComponentPublish(OpContext &context, const OpCall &call);

/// The inside of a component takes the place of an instance, as the definition has it: ordinary
/// nodes, to be edited as such until "component.edit_commit" makes them the definition.
OpOutcome applyComponentEditEnter(OpContext &context, const OpCall &call);
OpOutcome applyComponentEditCommit(OpContext &context, const OpCall &call);

} // namespace corvane::ops
