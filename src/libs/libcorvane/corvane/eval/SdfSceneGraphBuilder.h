#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/shader/SDFNode.h>

#include <eval/Graph.h>

#include <QList>
#include <QString>

#include <span>

namespace corvane::eval {

/// Turns the node list of a compiled scene into a field: a graph with the input `p`, a vec3, and
/// the output `d`, the signed distance there.
///
/// The text holds the code of each used definition once, and calls it with the parameters of each
/// node. It means what the tree evaluator of the shaders means: primitives are evaluated at their
/// inverse world matrix times p, inflated by `densityScale - 1` and hollowed by `shellThickness`;
/// the first child of an operator is the base, and each later child is the first operand of a call
/// whose second is what stands so far; several roots are a union. A scene without nodes, and a root
/// that is not there, is far away everywhere.
///
/// A small scene is one nested expression. A larger one, or one in which a moved point is used more
/// than once, is a function of many statements, since nesting is bounded in the field language and
/// each moved point is then computed once.
class SdfSceneGraphBuilder
{
public:
    struct Result
    {
        ::eval::Graph graph;
        ::eval::Handle positionHandle = 0;
        ::eval::Handle distanceHandle = 0;
        QString error; ///< the first; empty when all went well. The faulty part of the field is far
                       ///< away.
        QString source; ///< the text of the output
    };

    static constexpr int maxDepth = 256;
    static constexpr int maxRoots = 1024;
    static constexpr int maxVisits = 65536;

    static Result build(const QList<shader::SDFNode> &nodes, int rootIndex,
                        const registry::Registry &registry,
                        const shader::ShaderIndexManager &shaderIndexManager);
    static Result build(const QList<shader::SDFNode> &nodes, int rootIndex,
                        const DefinitionTable &definitions);

    /// The arguments of a call, "4.0f, vec3(1.0f, 0.0f, 0.0f)", from the packed parameters of a
    /// node. Children take none. What would begin past the last slot is left out.
    static QString formatParamsForCall(const registry::Definition &definition,
                                       std::span<const float> values);
    /// A float as the field language reads it back without loss of more than the ninth digit.
    static QString floatLit(float value);
    /// `positionExpr` itself for an identity, within 1e-6 on each entry.
    static QString applyInvTransform(const std::array<float, 16> &matrix,
                                     const QString &positionExpr);
    /// A definition's text without comments and `const`, as the field language takes it.
    static QString fieldCode(const QString &shaderCode);
};

} // namespace corvane::eval
