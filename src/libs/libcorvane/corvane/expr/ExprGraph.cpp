#include <corvane/expr/ExprGraph.h>

#include <QHash>
#include <QSet>
#include <QSharedPointer>

namespace corvane::expr {

const ExprGraph::Node *ExprGraph::node(const QString &name) const
{
    const auto it = m_nodes.constFind(name);
    return it == m_nodes.cend() ? nullptr : &*it;
}

void ExprGraph::clear()
{
    m_nodes.clear();
    m_dirty.clear();
    m_order.reset();
}

void ExprGraph::addLeaf(const QString &name, const QVariant &value)
{
    Node &leaf = replaceable(name);
    if (leaf.isExpression)
        m_order.reset();
    leaf.isExpression = false;
    leaf.compiled = {};
    setDirty(leaf, false);
    leaf.value = value;
}

void ExprGraph::addExpression(const QString &name, const CompiledExpression &compiled,
                              const QVariant &value)
{
    Node &node = replaceable(name);
    m_order.reset();
    node.isExpression = true;
    node.compiled = compiled;
    setDirty(node, true);
    node.value = value;
    link(name, compiled.dependencies);
}

void ExprGraph::addFailed(const QString &name, const CompiledExpression &compiled,
                          const QVariant &value)
{
    addLeaf(name, value);
    m_nodes[name].compiled = compiled;
}

void ExprGraph::addAlias(const QString &name, const QString &target, const QVariant &value)
{
    addLeaf(name, value);
    link(name, {target});
}

QString ExprGraph::targetOf(const QString &name) const
{
    const Node *alias = node(name);
    const bool isAlias = alias && !alias->isExpression && !alias->dependencies.isEmpty();
    return isAlias ? alias->dependencies.first() : name;
}

void ExprGraph::updateLeaf(const QString &name, const QVariant &value)
{
    const auto it = m_nodes.find(name);
    if (it == m_nodes.end()) {
        addLeaf(name, value);
        return;
    }
    if (it->value == value)
        return;
    it->value = value;
    markDependentsDirty(name);
}

void ExprGraph::removeNode(const QString &name)
{
    const auto it = m_nodes.find(name);
    if (it == m_nodes.end())
        return;
    if (it->isExpression || !it->dependents.isEmpty() || !it->dependencies.isEmpty())
        m_order.reset();
    m_dirty.remove(name);
    unlinkDependencies(*it);
    const QStringList dependents = it->dependents;
    for (const QString &dependent : dependents)
        m_nodes[dependent].dependencies.removeOne(name);
    m_nodes.remove(name);
}

void ExprGraph::setResult(const QString &name, const QVariant &value)
{
    const auto it = m_nodes.find(name);
    if (it == m_nodes.end())
        return;
    it->value = value;
    setDirty(*it, false);
}

void ExprGraph::overwriteResult(const QString &name, const QVariant &value)
{
    const auto it = m_nodes.find(name);
    if (it == m_nodes.end())
        return;
    it->value = value;
    setDirty(*it, it->isExpression);
    markDependentsDirty(name);
}

void ExprGraph::detachPrograms()
{
    for (Node &node : m_nodes) {
        if (node.compiled.program)
            node.compiled.program = QSharedPointer<eval::Program>::create(*node.compiled.program);
    }
}

QStringList ExprGraph::topologicalOrder() const
{
    if (!m_order)
        m_order = computeOrder();
    return *m_order;
}

QStringList ExprGraph::computeOrder() const
{
    QHash<QString, qsizetype> waitingFor;
    QStringList ready;
    for (auto it = m_nodes.cbegin(); it != m_nodes.cend(); ++it) {
        // Most nodes are plain values that nothing reads.
        if (it->dependencies.isEmpty() && (it->isExpression || !it->dependents.isEmpty()))
            ready.append(it.key());
        else if (!it->dependencies.isEmpty())
            waitingFor.insert(it.key(), it->dependencies.size());
    }
    QStringList order;
    for (qsizetype next = 0; next < ready.size(); ++next) {
        const auto node = m_nodes.constFind(ready.at(next));
        if (node->isExpression)
            order.append(node.key());
        for (const QString &dependent : node->dependents) {
            if (--waitingFor[dependent] == 0)
                ready.append(dependent);
        }
    }
    return order;
}

QStringList ExprGraph::detectCycles() const
{
    const QStringList order = topologicalOrder();
    const QSet<QString> ordered(order.cbegin(), order.cend());
    QStringList left;
    for (auto it = m_nodes.cbegin(); it != m_nodes.cend(); ++it) {
        if (it->isExpression && !ordered.contains(it.key()))
            left.append(it.key());
    }
    return left;
}

void ExprGraph::setDirty(Node &node, bool dirty)
{
    node.dirty = dirty;
    if (dirty && node.isExpression)
        m_dirty.insert(node.name);
    else
        m_dirty.remove(node.name);
}

ExprGraph::Node &ExprGraph::replaceable(const QString &name)
{
    const auto it = m_nodes.find(name);
    if (it != m_nodes.end()) {
        if (!it->dependencies.isEmpty())
            m_order.reset();
        unlinkDependencies(*it);
        it->dependencies.clear();
        return *it;
    }
    Node node;
    node.name = name;
    return *m_nodes.insert(name, node);
}

void ExprGraph::link(const QString &name, const QStringList &dependencies)
{
    m_order.reset();
    m_nodes[name].dependencies = dependencies;
    for (const QString &dependency : dependencies) {
        Node &target = m_nodes[dependency];
        target.name = dependency;
        target.dependents.append(name);
    }
}

void ExprGraph::unlinkDependencies(const Node &node)
{
    for (const QString &dependency : node.dependencies) {
        const auto target = m_nodes.find(dependency);
        if (target != m_nodes.end())
            target->dependents.removeOne(node.name);
    }
}

void ExprGraph::markDependentsDirty(const QString &name)
{
    QStringList work = m_nodes.value(name).dependents;
    QSet<QString> seen;
    for (qsizetype next = 0; next < work.size(); ++next) {
        const QString dependent = work.at(next);
        if (seen.contains(dependent))
            continue;
        seen.insert(dependent);
        Node &node = m_nodes[dependent];
        setDirty(node, true);
        work += node.dependents;
    }
}

} // namespace corvane::expr
