#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/shader/SDFNode.h>

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

namespace corvane::eval {

/// Writes the text of one scene for SdfSceneGraphBuilder; used once and dropped.
///
/// Every emit function answers an expression for the distance. In a scene of statements it may
/// first append statements to the body. The variables there are numbered by how many of them are in
/// use, so that their number grows with the depth of the tree and not with its size; an expression
/// that was answered must be used before the next emit call, which may reuse the variables in it.
class FieldTextBuilder
{
public:
    FieldTextBuilder(const QList<shader::SDFNode> &nodes, const DefinitionTable &definitions);

    /// The whole text of the output.
    QString build(int rootIndex);
    /// The first error; empty when all went well.
    const QString &error() const { return m_error; }

private:
    using Node = shader::SDFNode;

    bool isNode(int index) const { return index >= 0 && index < m_nodes.size(); }
    QList<int> rootChain(int rootIndex) const;
    QList<int> childChain(int index);
    int survey(int index, int depth);

    QString emitNode(int index, const QString &position, int depth);
    QString emitPrimitive(const Node &node, const QString &position);
    QString emitOperator(int index, const QString &position, int depth);
    QString emitTransform(const Node &node, const QString &position, int depth);
    QString emitModifier(const Node &node, const QString &position, int depth);
    QString emitPositionAware(const Node &node, const QString &position, int depth);
    template<class Combine>
    QString emitFold(const QList<int> &children, const QString &position, int depth,
                     Combine combine);

    QString ensureFnEmitted(const registry::Definition &definition, const Node &node,
                            QLatin1String prefix);
    QString call(const registry::Definition &definition, const Node &node, QLatin1String prefix,
                 const QStringList &arguments);
    void checkNumbers(const registry::Definition &definition, const Node &node);
    QString fail(const QString &message);

    QString assign(const QString &variable, const QString &expression);
    QString distanceVariable(int level);
    QString positionVariable(int level);
    QString sceneFunction(const QString &result) const;

    const QList<Node> &m_nodes;
    const DefinitionTable &m_definitions;
    QHash<const registry::Definition *, QString> m_functions; ///< emitted, with their names
    QString m_prelude;
    QString m_body;
    QString m_error;
    bool m_statements = false;
    int m_visits = 0;
    int m_distanceLevel = 0; ///< variables in use
    int m_positionLevel = 0;
    int m_distanceCount = 0; ///< variables ever used
    int m_positionCount = 0;
};

} // namespace corvane::eval
