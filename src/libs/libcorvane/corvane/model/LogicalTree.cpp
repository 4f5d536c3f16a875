#include <corvane/model/LogicalTree.h>

#include <corvane/model/WarningList.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr qsizetype maxLabel = 80;

/// What a warning calls a node.
QString label(const LogicalInstance &node)
{
    return node.name.isEmpty() ? node.id.toString(QUuid::WithoutBraces) : node.name.left(maxLabel);
}

} // namespace

LogicalTree::LogicalTree(const QList<LogicalInstance> &nodes, WarningList &warnings)
    : m_warnings(warnings)
{
    m_order.reserve(nodes.size());
    for (const LogicalInstance &node : nodes) {
        if (node.id.isNull()) {
            m_warnings.add(u"Instance \"%1\" has no id and was dropped"_s.arg(label(node)));
        } else if (m_nodes.contains(node.id)) {
            m_warnings.add(
                u"Instance \"%1\" has the id of another one and was dropped"_s.arg(label(node)));
        } else {
            m_nodes.insert(node.id, node);
            m_order.append(node.id);
        }
    }
}

void LogicalTree::placeRoots(const QList<QUuid> &roots)
{
    for (const QUuid &id : roots) {
        if (!m_nodes.contains(id)) {
            m_warnings.add(u"Unknown root reference: %1"_s.arg(id.toString(QUuid::WithoutBraces)));
        } else if (!m_placed.contains(id)) {
            m_placed.insert(id);
            m_roots.append(id);
        }
    }
    for (const QUuid &id : std::as_const(m_roots))
        placeBelow(id);
}

void LogicalTree::placeTopsAsRoots()
{
    placeRoots(unplacedTops());
}

void LogicalTree::placeDetached()
{
    const QList<QUuid> tops = unplacedTops();
    for (const QUuid &id : tops) {
        m_placed.insert(id);
        placeBelow(id);
    }
    // What is left goes round in circles: each is cut where it is met first.
    for (const QUuid &id : std::as_const(m_order)) {
        if (m_placed.contains(id))
            continue;
        m_placed.insert(id);
        placeBelow(id);
    }
}

QList<QUuid> LogicalTree::unplacedTops() const
{
    QSet<QUuid> referenced;
    for (const QUuid &id : m_order) {
        if (m_placed.contains(id))
            continue;
        for (const QUuid &child : m_nodes.constFind(id)->children)
            referenced.insert(child);
    }
    QList<QUuid> tops;
    for (const QUuid &id : m_order) {
        if (!m_placed.contains(id) && !referenced.contains(id))
            tops.append(id);
    }
    return tops;
}

void LogicalTree::placeBelow(const QUuid &top)
{
    QList<QUuid> open{top};
    while (!open.isEmpty()) {
        const QList<QUuid> children = claimChildren(*m_nodes.find(open.takeLast()));
        for (auto child = children.crbegin(); child != children.crend(); ++child)
            open.append(*child);
    }
}

/// Takes the node's children that are free, and answers them.
QList<QUuid> LogicalTree::claimChildren(LogicalInstance &node)
{
    QList<QUuid> claimed;
    claimed.reserve(node.children.size());
    for (const QUuid &id : std::as_const(node.children)) {
        const auto child = m_nodes.constFind(id);
        if (child == m_nodes.cend()) {
            m_warnings.add(u"Unknown child reference: %1"_s.arg(id.toString(QUuid::WithoutBraces)));
        } else if (m_placed.contains(id)) {
            m_warnings.add(
                u"Instance \"%1\" has a place already; the one below \"%2\" was dropped"_s.arg(
                    label(*child), label(node)));
        } else {
            m_placed.insert(id);
            m_parents.insert(id, node.id);
            claimed.append(id);
        }
    }
    if (claimed.size() != node.children.size())
        node.children = claimed;
    return claimed;
}

} // namespace corvane::model
