#pragma once

#include <corvane/shader/SDFNode.h>

#include <QList>
#include <QString>

namespace corvane::registry {
class Registry;
}

namespace corvane::shader {

class ShaderIndexManager;

/// Writes the field of one scene as straight GLSL: no walk, no stack, and no limit of depth that a
/// scene of the program reaches. It gives what the tree evaluator gives, materials included.
///
/// Parameters, placements and smoothness are read from the node buffer as ever, so that a changed
/// value needs no other text. What the text is made for is the structure of the scene: while the
/// structureKey() of a node array is that of the text, the text draws it.
class SpecialisedScene
{
public:
    static constexpr int maxNodes = 1024; ///< a driver's time to compile grows with them
    static constexpr int maxDepth = 256;  ///< as for exported fields

    /// A number for all that the text depends on: types, definitions, operations and links of the
    /// nodes, which of them are placed, inflated or hollow, and how they mix materials.
    /// @param rootIndices  the first root of each chain: one for each domain
    [[nodiscard]] static quint64 structureKey(const QList<SDFNode> &nodes,
                                              const QList<int> &rootIndices);

    /// Why there can be no text for a scene; empty when there can.
    [[nodiscard]] static QString refusal(const QList<SDFNode> &nodes,
                                         const QList<int> &rootIndices);

    /// `sceneSDF` of the scene, to stand behind the wrappers and CSG operations. Which chain of
    /// roots is evaluated is said by `rootNodeIndex`. Empty when refusal() has something to say.
    [[nodiscard]] static QString evaluator(const QList<SDFNode> &nodes,
                                           const QList<int> &rootIndices,
                                           const ShaderIndexManager &indices,
                                           const registry::Registry *registry);
};

} // namespace corvane::shader
