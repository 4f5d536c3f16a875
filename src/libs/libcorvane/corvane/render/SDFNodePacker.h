#pragma once

#include <corvane/shader/SDFNode.h>

#include <QSharedPointer>
#include <QString>
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

/// Writes what one instance says into its node: everything but links and transform. A whole build
/// and the update of a single instance both go through it, and so give the same bytes.
namespace SDFNodePacker {

using ParameterSlots = std::array<float, shader::parameterSlotCount>;

/// What a definition id is to the node array.
struct DefinitionFacts
{
    QSharedPointer<const registry::Definition> definition; ///< null when unknown
    shader::GpuNodeType type = shader::GpuNodeType::Primitive;
    std::uint32_t index = shader::noDefinitionIndex;
    std::uint32_t operationType = 0;
    bool known = false; ///< the definition exists and is of some kind
};

/// A definition without an index (unknown, or disabled) is far away everywhere, or changes nothing.
[[nodiscard]] DefinitionFacts definitionFacts(const QString &definitionId,
                                              const shader::SDFShaderGenerator &generator);

/// Whether a node is of that definition.
[[nodiscard]] bool isOfDefinition(const shader::SDFNode &node, const DefinitionFacts &facts);

/// Writes type, definition, parameters, material and modifiers.
void pack(shader::SDFNode &node, const model::Instance &instance, const model::Corvane &scene,
          const DefinitionFacts &facts);

/// The instance's parameters, or the definition's defaults, in the definition's order, each in as
/// many slots as its type takes and none past the last. Children take no slot.
[[nodiscard]] ParameterSlots packParameters(const model::Instance &instance,
                                            const registry::Definition &definition);

/// Writes `value` as `count` floats: the components of a vector, a colour or a list, anything else
/// as one number. What is missing is 0, what is too much is left out.
void writeFloats(const QVariant &value, float *target, int count);

} // namespace SDFNodePacker

} // namespace corvane::render
