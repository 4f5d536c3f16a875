#pragma once

#include <corvane/ops/OpChange.h>

namespace corvane::ops {

class OpCall;
struct OpContext;

// The ops of nodes and items. Each checks all before it changes anything; see opCatalogue() for
// arguments. A `restore...` brings a modification back to a state that its op recorded.

/// "sdf" adds a node of a definition or a component, or a group with `container`; a "group" below a
/// node is a node, too. Any other type, and a "group" elsewhere, is an item of the document. What
/// is added in a group or domain of the document, or below a node with an item of its own, is such
/// a node as well: the scene goes on to look as it does.
OpOutcome applyItemAdd(OpContext &context, const OpCall &call);
/// Takes away what stands below, too, but parts that are used elsewhere.
OpOutcome applyItemRemove(OpContext &context, const OpCall &call);
/// Copies what stands below, too; the copy comes last among its siblings.
OpOutcome applyItemDuplicate(OpContext &context, const OpCall &call);

OpOutcome applyItemSetParent(OpContext &context, const OpCall &call);
void restorePlace(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// A name that is taken gets a number.
OpOutcome applyItemRename(OpContext &context, const OpCall &call);
void restoreName(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// Axes that are not given stay.
OpOutcome applyItemSetTransform(OpContext &context, const OpCall &call);
void restoreTransform(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// Values of an inline material without a `materialId` take the catalogue's material off.
OpOutcome applyItemSetMaterial(OpContext &context, const OpCall &call);
void restoreMaterial(OpContext &context, const QUuid &itemId, const QVariantMap &state);

OpOutcome applyItemSetTags(OpContext &context, const OpCall &call);
void restoreTags(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// Items of the document only. No value takes the key out. "parameters" is another word for
/// "params".
OpOutcome applyItemSetTypeData(OpContext &context, const OpCall &call);
void restoreTypeData(OpContext &context, const QUuid &itemId, const QVariantMap &state);

/// Proxies never nest: setting one clears those below.
OpOutcome applyItemSetProxy(OpContext &context, const OpCall &call);
void restoreProxy(OpContext &context, const QUuid &itemId, const QVariantMap &state);

} // namespace corvane::ops
