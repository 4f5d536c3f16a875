#pragma once

#include <corvane/shader/ShaderSourceMap.h>

#include <QList>

namespace corvane::registry {
class Registry;
}

namespace corvane::shader {

class ShaderIndexManager;
struct ShaderNodeKind;

/// Writes the functions that stand between a dispatcher and a definition: they take the packed
/// parameters of a node apart.
class ShaderWrapperGenerator
{
public:
    struct Wrappers
    {
        MappedText text;    ///< with the banner
        QList<int> indices; ///< of the definitions that have one
    };

    /// One wrapper for each active definition of a kind. A definition whose main function can't be
    /// found is logged and left out.
    [[nodiscard]] static Wrappers generateWrappers(const ShaderNodeKind &kind,
                                                   const ShaderIndexManager &indices,
                                                   const registry::Registry &registry);
};

} // namespace corvane::shader
