#pragma once

#include <corvane/zirn/ZirnTaskParams.h>
#include <corvane/zirn/ZirnTaskResult.h>

namespace corvane::zirn {

struct SceneAccess;

// What the tasks "corvane.scene.*" answer; see the catalogue. An item is the same thing for all of
// them, whether the tree or the document has it. Main thread.

/// `items`: id, name, type, parentId.
ZirnTaskResult listItems(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `item`: all that there is to know; SceneRecord::toJson().
ZirnTaskResult getItem(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `parameters`: values by name, those of the definition where the item sets none.
ZirnTaskResult getParameters(const ZirnTaskParams &arguments, const SceneAccess &access);
ZirnTaskResult getSelection(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `children`: id, name, type.
ZirnTaskResult getChildren(const ZirnTaskParams &arguments, const SceneAccess &access);
ZirnTaskResult searchItems(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `definitions`: id, name, nodeType, category, description, parameters, minChildren, maxChildren.
ZirnTaskResult listDefinitions(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `errors`: path, location, expression, error, itemId.
ZirnTaskResult listErrors(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `batches`: batchId, description, startIndex, endIndex.
ZirnTaskResult listBatches(const ZirnTaskParams &arguments, const SceneAccess &access);
/// An edit: takes back what a batch did.
ZirnTaskResult undoBatch(const ZirnTaskParams &arguments, const SceneAccess &access);

} // namespace corvane::zirn
