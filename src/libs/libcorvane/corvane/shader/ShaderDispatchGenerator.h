#pragma once

#include <corvane/shader/ShaderSourceMap.h>

#include <QString>

namespace corvane::registry {
class Registry;
}

namespace corvane::shader {

class ShaderIndexManager;

/// Writes what lies between the node array and the definitions' functions: switches over the
/// indices of the active definitions, the blends of materials, and the fixed CSG operations.
class ShaderDispatchGenerator
{
public:
    /// Wrappers and dispatcher of each kind, then the CSG blends. Empty without a registry.
    [[nodiscard]] static MappedText generateDispatchers(const ShaderIndexManager &indices,
                                                        const registry::Registry *registry);
    /// Wrappers and dispatcher of the primitives alone.
    [[nodiscard]] static QString generatePrimitiveDispatch(const ShaderIndexManager &indices,
                                                           const registry::Registry *registry);
    /// `applyCsgOp` and its operations.
    [[nodiscard]] static QString csgOperations();
    /// `evaluateNodePrimitive` and `evaluateSceneTree`.
    [[nodiscard]] static QString treeEvaluator();
};

} // namespace corvane::shader
