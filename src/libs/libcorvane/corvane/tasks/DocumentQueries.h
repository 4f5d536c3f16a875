#pragma once

#include <corvane/zirn/ZirnTaskParams.h>
#include <corvane/zirn/ZirnTaskResult.h>

namespace corvane::zirn {

struct SceneAccess;

// What the tasks on variables, settings and materials answer. Main thread.

/// `varsets`: name and variables of each, the default one first, both in the user's order.
ZirnTaskResult listVarsets(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `path` and `value`, which is JSON unless it is a text.
ZirnTaskResult getSettings(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `materials`: id, name, category, builtIn.
ZirnTaskResult listMaterials(const ZirnTaskParams &arguments, const SceneAccess &access);
/// `material`: these, albedo, metallic, roughness and emission.
ZirnTaskResult getMaterial(const ZirnTaskParams &arguments, const SceneAccess &access);

} // namespace corvane::zirn
