#pragma once

#include <corvane/shader/ShaderSourceMap.h>

#include <QString>

namespace corvane::registry {
class Registry;
}

namespace corvane::shader {

class ShaderIndexManager;

/// Writes the functions of the active definitions, each with its index in its name, so that two
/// definitions may use one function name.
class ShaderFunctionGenerator
{
public:
    /// Four sections: primitives, position transforms, distance modifiers, position-aware
    /// modifiers. A definition whose main function can't be found is logged and left out. Empty
    /// without a registry.
    [[nodiscard]] static MappedText generateSDFFunctions(const ShaderIndexManager &indices,
                                                         const registry::Registry *registry);
};

} // namespace corvane::shader
