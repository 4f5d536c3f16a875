#pragma once

#include <corvane/shader/SDFNode.h>
#include <corvane/shader/SceneParameterBlock.h>

#include <QList>
#include <QString>

namespace corvane::registry {
class Registry;
}

namespace corvane::shader {

class ShaderIndexManager;

/// The field of one scene as straight GLSL: no walk, no stack, and no limit of depth that a scene
/// of the program reaches. It gives what the tree evaluator gives, materials included.
///
/// Parameters, placements and smoothness are read from a uniform block, so that a changed value
/// needs no other text. What the text is made for is the structure of the scene: while the
/// structureKey() of a node array is key(), the text draws it, with parameterBytes() of that array
/// in the block. A value; goes to any thread.
class SpecialisedScene
{
public:
    static constexpr int maxNodes = 1024; ///< a driver's time to compile grows with them
    static constexpr int maxDepth = 256;  ///< as for exported fields
    static constexpr int parameterBinding = SceneParameterBlock::binding;

    SpecialisedScene() = default; ///< null: nothing is specialised
    /// Null when refusal() has something to say. The active definitions of `indices` must be those
    /// of the scene.
    /// @param rootIndices  the first root of each chain: one for each domain. Which of them is
    /// drawn
    ///                     is said by `rootNodeIndex` of the scene's uniforms
    SpecialisedScene(const QList<SDFNode> &nodes, const QList<int> &rootIndices,
                     const ShaderIndexManager &indices, const registry::Registry *registry);

    /// Why there can be no text for a scene; empty when there can.
    [[nodiscard]] static QString refusal(const QList<SDFNode> &nodes,
                                         const QList<int> &rootIndices);

    /// A number for all that the text depends on: types, definitions, operations and links of the
    /// nodes, which of them are placed, inflated or hollow, and how they mix materials. It is the
    /// same within one run of the program only.
    [[nodiscard]] static quint64 structureKey(const QList<SDFNode> &nodes,
                                              const QList<int> &rootIndices);

    [[nodiscard]] bool isNull() const { return m_evaluator.isEmpty(); }
    [[nodiscard]] quint64 key() const { return m_key; }

    /// `sceneSDF` of the scene, to stand behind the wrappers and CSG operations.
    [[nodiscard]] const QString &evaluator() const { return m_evaluator; }
    /// What the uniform block at parameterBinding holds for nodes of this structure.
    [[nodiscard]] QByteArray parameterBytes(const QList<SDFNode> &nodes) const
    {
        return m_parameters.bytes(nodes);
    }

private:
    quint64 m_key = 0;
    QString m_evaluator;
    SceneParameterBlock m_parameters;
};

} // namespace corvane::shader
