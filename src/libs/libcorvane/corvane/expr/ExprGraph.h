#pragma once

#include <corvane/expr/CompiledExpression.h>

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace corvane::expr {

/// Which expression reads which name. A plain value.
class ExprGraph
{
public:
    struct Node
    {
        QString name{};
        QStringList dependencies{};
        QStringList dependents{};
        CompiledExpression compiled{};
        bool isExpression = false;
        bool dirty = false;
        QVariant value{};
    };

    const QMap<QString, Node> &nodes() const { return m_nodes; }
    bool contains(const QString &name) const { return m_nodes.contains(name); }
    /// None for an unknown name. Valid until the graph changes.
    const Node *node(const QString &name) const;

    void clear();
    /// A node with no expression; one of that name keeps its dependents.
    void addLeaf(const QString &name, const QVariant &value);
    /// Replaces the node and links it with what it reads; leaves that are missing are made. The
    /// value is what the node has until it is evaluated.
    void addExpression(const QString &name, const CompiledExpression &compiled,
                       const QVariant &value = {});
    /// A leaf whose expression does not compile; `compiled` tells why.
    void addFailed(const QString &name, const CompiledExpression &compiled, const QVariant &value);
    /// Makes `name` stand for `target`: it is computed by no expression, and changes when `target`
    /// does.
    void addAlias(const QString &name, const QString &target, const QVariant &value);
    /// What an alias stands for; any other name is itself.
    QString targetOf(const QString &name) const;
    /// Stores the value of a leaf, made when absent, and marks all that depends on it dirty. A
    /// value that is the same marks nothing.
    void updateLeaf(const QString &name, const QVariant &value);
    /// Unlinks both directions.
    void removeNode(const QString &name);
    /// Stores the result of an expression, which is clean then.
    void setResult(const QString &name, const QVariant &value);
    /// Stores a value that came from elsewhere than the expression: the node is dirty, and so is
    /// all that reads it.
    void overwriteResult(const QString &name, const QVariant &value);
    /// Whether any expression is dirty, and whether this one is.
    bool hasDirty() const { return !m_dirty.isEmpty(); }
    bool isDirty(const QString &name) const { return m_dirty.contains(name); }
    /// Marks all that reads a name, directly or not.
    void markDependentsDirty(const QString &name);
    /// Gives every expression a program of its own, so that a copy of the graph may go to another
    /// thread.
    void detachPrograms();

    /// The expression nodes, each after all that it reads (Kahn's algorithm), in the order of names
    /// where that leaves a choice. Members of a cycle, and what reads them, are left out.
    QStringList topologicalOrder() const;
    /// The expression nodes that are not in topologicalOrder().
    QStringList detectCycles() const;

private:
    /// The node of that name, made when absent, linked with nothing that it reads.
    Node &replaceable(const QString &name);
    void link(const QString &name, const QStringList &dependencies);
    void unlinkDependencies(const Node &node);

    QStringList computeOrder() const;
    void setDirty(Node &node, bool dirty);

    QMap<QString, Node> m_nodes;
    QSet<QString> m_dirty;                      ///< the expressions among the nodes that are
    mutable std::optional<QStringList> m_order; ///< kept until an expression or a link changes
};

} // namespace corvane::expr
