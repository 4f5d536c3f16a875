// The walk of sdf_tree_evaluator.glsl without its values: the same steps, so that what is counted
// here is what happens there. A node is entered once and left once.
#include <corvane/shader/WalkDepth.h>

namespace corvane::shader {

namespace {

class DepthWalk
{
public:
    explicit DepthWalk(const QList<SDFNode> &nodes)
        : m_nodes(nodes)
    {}

    void walk(int root)
    {
        int node = root;
        qsizetype endsLeft = m_nodes.size();
        do {
            node = wayDown(node);
            node = wayUp(node, root);
        } while (node >= 0 && --endsLeft > 0);
    }
    int deepest() const { return m_deepest; }
    bool isNode(int index) const { return index >= 0 && index < m_nodes.size(); }

private:
    void push() { m_deepest = std::max(m_deepest, ++m_depth); }
    void pop() { m_depth = std::max(m_depth - 1, 0); }

    int wayDown(int node)
    {
        qsizetype stepsLeft = m_nodes.size();
        while (m_nodes.at(node).type() != GpuNodeType::Primitive &&
               isNode(m_nodes.at(node).firstChild) && --stepsLeft > 0) {
            if (m_nodes.at(node).type() == GpuNodeType::PositionTransform)
                push();
            node = m_nodes.at(node).firstChild;
        }
        return node;
    }

    /// The next child to enter; -1 at the end.
    int wayUp(int node, int root)
    {
        qsizetype stepsLeft = m_nodes.size();
        while (node != root && stepsLeft-- > 0) {
            const int parent = m_nodes.at(node).parentIndex;
            if (!isNode(parent))
                return -1;
            if (m_nodes.at(parent).type() == GpuNodeType::PositionTransform)
                pop();
            if (m_nodes.at(parent).type() == GpuNodeType::CsgOp) {
                if (m_nodes.at(parent).firstChild != node)
                    pop();
                const int next = m_nodes.at(node).nextSibling;
                if (isNode(next)) {
                    push();
                    return next;
                }
            }
            node = parent;
        }
        return -1;
    }

    const QList<SDFNode> &m_nodes;
    int m_depth = 0;
    int m_deepest = 0;
};

} // namespace

int neededWalkDepth(const QList<SDFNode> &nodes, int rootIndex)
{
    DepthWalk walk(nodes);
    qsizetype rootsLeft = nodes.size();
    for (int root = rootIndex; walk.isNode(root) && rootsLeft-- > 0;
         root = nodes.at(root).nextSibling)
        walk.walk(root);
    return walk.deepest();
}

} // namespace corvane::shader
