// The expansion of calls is a tree whose size may be exponential in the source, but sizes add
// up: each function is summed up once after all that it calls (a topological order by depth-
// first search on a path of its own), so the cost is linear in the source. Sums stop at the
// limit and never overflow.

#include <eval/internal/registers/ExpandedSize.h>

#include <eval/internal/frontend/AstWalk.h>

#include <QHash>

#include <algorithm>
#include <utility>

namespace eval::internal {

namespace {

class SizeSearch
{
public:
    SizeSearch(const FunctionTable &functions, qint64 most)
        : m_functions(functions)
        , m_most(most)
    {}

    qint64 sizeOf(const AstPtr &root);

private:
    struct Body
    {
        qint64 nodes = 0; ///< its own, then with those of its callees
        QHash<QString, qint64> calls;
        QList<const AstNode *> callees;
        qsizetype nextCallee = 0;
        bool isOpen = false; ///< stands on the path that is being walked
        bool isDone = false;
    };

    Body read(const AstPtr &tree) const;
    bool complete(const AstNode *function);
    void addCallees(Body &body) const;
    const AstNode *nextOpenCallee(Body &body) const;

    const FunctionTable &m_functions;
    const qint64 m_most;
    QHash<const AstNode *, Body> m_bodies;
};

qint64 SizeSearch::sizeOf(const AstPtr &root)
{
    Body entry = read(root);
    for (const AstNode *const function : std::as_const(entry.callees)) {
        if (!complete(function))
            return m_most;
    }
    addCallees(entry);
    return entry.nodes;
}

SizeSearch::Body SizeSearch::read(const AstPtr &tree) const
{
    Body body;
    forEachNode(tree, [&](const AstNode &node) {
        ++body.nodes;
        if (node.kind == AstKind::Call && m_functions.contains(node.name) &&
            body.calls[node.name]++ == 0)
            body.callees.append(m_functions.value(node.name));
    });
    return body;
}

/// Sums up a function after all that it calls, with a path of its own: a chain of calls is as long
/// as its source. False when it reaches itself.
bool SizeSearch::complete(const AstNode *function)
{
    QList<const AstNode *> path{function};
    while (!path.isEmpty()) {
        const AstNode *const last = path.constLast();
        if (!m_bodies.contains(last))
            m_bodies.insert(last, read(last->body));
        Body &body = m_bodies[last];
        body.isOpen = true;
        if (const AstNode *const callee = nextOpenCallee(body)) {
            if (m_bodies.value(callee).isOpen)
                return false;
            path.append(callee);
            continue;
        }
        if (!std::exchange(body.isDone, true))
            addCallees(body);
        body.isOpen = false;
        path.removeLast();
    }
    return true;
}

const AstNode *SizeSearch::nextOpenCallee(Body &body) const
{
    while (body.nextCallee < body.callees.size()) {
        const AstNode *const callee = body.callees.at(body.nextCallee);
        const auto known = m_bodies.constFind(callee);
        if (known == m_bodies.constEnd() || !known->isDone)
            return callee;
        ++body.nextCallee;
    }
    return nullptr;
}

void SizeSearch::addCallees(Body &body) const
{
    for (auto call = body.calls.cbegin(); call != body.calls.cend(); ++call) {
        qint64 largest = 0;
        const QList<const AstNode *> overloads = m_functions.value(call.key());
        for (const AstNode *const function : overloads)
            largest = std::max(largest, m_bodies.value(function).nodes);
        // Both factors are at most the limit, whose square a number holds.
        body.nodes = std::min(m_most, body.nodes + std::min(call.value(), m_most) * largest);
    }
}

} // namespace

qint64 expandedSize(const AstPtr &root, const FunctionTable &functions, qint64 most)
{
    return std::min(most, SizeSearch(functions, most).sizeOf(root));
}

} // namespace eval::internal
