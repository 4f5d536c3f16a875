#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/eval/IFieldEvaluator.h>
#include <corvane/shader/SDFNode.h>

#include <QList>
#include <QString>
#include <QVector3D>

#include <array>

namespace corvane::eval {

/// Distance and exact gradient of the scenes that are made of a few well-known shapes and
/// operators.
///
/// A stencil costs four evaluations of the field for each gradient; this costs about one. It covers
/// what ships with the program under the names of Kind; a scene that uses anything else does not
/// compile, and reason() names what stopped it. Const calls are safe from many threads.
class AnalyticGradient
{
public:
    enum class Kind {
        sphere,
        box,
        round_box,
        cylinder,
        torus,
        capsule,
        plane,
        union_,
        subtract,
        intersect,
        smooth_union,
        smooth_subtract,
        smooth_intersect,
        translate,
        rotate,
    };

    /// One slot: a shape, an operator over slots, or a transform of one slot.
    ///
    /// A point p goes in as rotation * p + translation; a gradient comes back through the
    /// transposed rotation. Row order. The matrix of an enclosing group may scale as well.
    struct Node
    {
        Kind kind = Kind::sphere;
        std::array<float, shader::parameterSlotCount> parameters{};
        QList<int> children;
        bool isPlaced = false; ///< false: rotation and translation are the identity
        std::array<float, 9> rotation{1, 0, 0, 0, 1, 0, 0, 0, 1};
        std::array<float, 9> transposed{1, 0, 0, 0, 1, 0, 0, 0, 1};
        QVector3D translation{};
        float inflation = 0.0f; ///< added to the distance of a shape
        float shell = 0.0f;     ///< above 0 the distance becomes abs(d) - shell
    };

    static AnalyticGradient compile(const QList<shader::SDFNode> &nodes, int rootIndex,
                                    const DefinitionTable &definitions);

    bool isValid() const { return m_root >= 0; }
    /// What the tree holds that cannot be compiled, "<primitive gyroid>"; empty when it is valid.
    const QString &reason() const { return m_reason; }
    DistanceGradient evalCompiled(float x, float y, float z) const;

private:
    class Compiler;

    QList<Node> m_nodes;
    int m_root = -1;
    QString m_reason;
};

} // namespace corvane::eval
