#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/shader/SDFNode.h>

#include <QHash>
#include <QList>
#include <QString>

namespace corvane::eval {

/// How steep the field of a scene is: by how much it changes at most over a unit of length. A true
/// distance has 1; where it is more, a ray that advances by what the field says passes through thin
/// parts and leaves holes in the picture, so that it must advance by so much less.
///
/// Each definition is measured once for each set of parameters, from the gradients of its own code
/// at points of a cube, and kept; a scene's bound is put together from those along its tree. It is
/// an estimate from samples: what is steeper in a place that no sample meets is not seen, and jumps
/// and poles, which no bound holds, do not count.
///
/// A new set of parameters costs about a millisecond, a known one nothing. One thread at a time.
class FieldSteepness
{
public:
    /// What a definition showed with the parameters that made it steepest so far.
    struct Measured
    {
        QString definitionId;
        float bound = 1.0f;
    };

    /// Half the edge of the cube that is looked at: of the box of the scene, since a twist or a
    /// bend stretches more the farther out it is.
    explicit FieldSteepness(float reach = 16.0f)
        : m_reach(reach)
    {}

    /// The bound of a chain of roots, at least 1. Nodes without a definition count as distances.
    float ofScene(const QList<shader::SDFNode> &nodes, int rootIndex,
                  const DefinitionTable &definitions);

    /// The definition of this node alone: the gradient of a primitive, the stretch of a transform,
    /// what a modifier makes of a slope of 1.
    float ofDefinition(const shader::SDFNode &node, const DefinitionTable &definitions);

    /// Definitions that were found to be steeper than 1, the steepest first.
    QList<Measured> steepDefinitions() const;

    /// Forgets all measurements: definitions changed.
    void clear();

    static constexpr float noticeable = 1.05f; ///< what is less is rounding and sampling

private:
    float ofTree(const QList<shader::SDFNode> &nodes, int index, const DefinitionTable &definitions,
                 int depth);
    float ofOperator(const QList<shader::SDFNode> &nodes, int index,
                     const DefinitionTable &definitions, int depth);

    float m_reach;
    QHash<QByteArray, float> m_known; ///< by type, definition and parameters
    QHash<QString, float> m_steepest; ///< by definition
};

} // namespace corvane::eval
