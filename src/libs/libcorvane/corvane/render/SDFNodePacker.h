#pragma once

#include <corvane/shader/SDFNode.h>

#include <QVariant>
#include <array>

namespace corvane::model {
class Corvane;
class Instance;
} // namespace corvane::model
namespace corvane::registry {
class Definition;
}
namespace corvane::shader {
class SDFShaderGenerator;
}

namespace corvane::render {

/// Writes what one instance says into its node: everything but links and transform. Used by a whole
/// build and by the update of a single instance, so that both give the same bytes.
class SDFNodePacker
{
public:
    using ParameterSlots = std::array<float, shader::parameterSlotCount>;

    /// Type, definition index and operation code. False for a definition that is unknown or of no
    /// kind: the node is then a primitive of no definition, which is far away everywhere.
    static bool setDefinition(shader::SDFNode &node, const model::Instance &instance,
                              const shader::SDFShaderGenerator &generator);

    /// Parameters, material and modifiers.
    static void setValues(shader::SDFNode &node, const model::Instance &instance,
                          const model::Corvane &scene, const registry::Definition *definition);

    /// The instance's parameters, or the definition's defaults, in the definition's order, each in
    /// as many slots as its type takes and none past the last. Children take no slot.
    [[nodiscard]] static ParameterSlots packParameters(const model::Instance &instance,
                                                       const registry::Definition &definition);

    /// Writes `value` as `count` floats to `target`: the components of a vector, colour or list,
    /// anything else as one number; what is missing is 0.
    static void writeFloats(const QVariant &value, float *target, int count);
};

} // namespace corvane::render
