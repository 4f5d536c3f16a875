// Depth-first search with three colours; an output that is met while it is open closes a cycle,
// which is told once by the path from it. The order of ends is the order of evaluation.

#include <eval/internal/OutputOrder.h>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

enum class State { Unvisited = 0, Visiting = 1, Done = 2 };

class DepthFirst
{
public:
    DepthFirst(const QStringList &names, const QList<QList<qsizetype>> &reads)
        : m_names(names)
        , m_reads(reads)
        , m_states(names.size(), State::Unvisited)
        , m_reported(names.size(), false)
    {}

    OutputOrder run()
    {
        for (qsizetype output = 0; output < m_names.size(); ++output) {
            if (m_states[output] == State::Unvisited)
                visitFrom(output);
        }
        return m_result;
    }

private:
    struct Frame
    {
        qsizetype output = 0;
        qsizetype nextRead = 0;
    };

    void enter(qsizetype output)
    {
        m_states[output] = State::Visiting;
        m_path.append({output, 0});
    }

    void visitFrom(qsizetype root)
    {
        enter(root);
        while (!m_path.isEmpty()) {
            Frame &frame = m_path.last();
            if (frame.nextRead == m_reads[frame.output].size()) {
                m_states[frame.output] = State::Done;
                m_result.order.append(frame.output);
                m_path.removeLast();
                continue;
            }
            const qsizetype read = m_reads[frame.output][frame.nextRead++];
            if (m_states[read] == State::Unvisited)
                enter(read);
            else if (m_states[read] == State::Visiting)
                reportCycle(read);
        }
    }

    /// The cycle is the end of the path, from `first` on.
    void reportCycle(qsizetype first)
    {
        QStringList chain{m_names[first]};
        bool isNew = false;
        for (qsizetype i = m_path.size() - 1; i >= 0; --i) {
            const qsizetype member = m_path[i].output;
            isNew = isNew || !m_reported[member];
            m_reported[member] = true;
            if (m_result.diagnostics.hasRoom())
                chain.prepend(m_names[member]);
            if (member == first)
                break;
        }
        if (isNew) {
            m_result.diagnostics.add(DiagnosticCategory::CircularDependency, {},
                                     u"circular dependency: %1"_s.arg(chain.join(u" → "_s)));
        }
    }

    const QStringList &m_names;
    const QList<QList<qsizetype>> &m_reads;
    QList<State> m_states;
    QList<bool> m_reported;
    QList<Frame> m_path;
    OutputOrder m_result;
};

} // namespace

OutputOrder orderOutputs(const QStringList &names, const QList<QList<qsizetype>> &reads)
{
    return DepthFirst(names, reads).run();
}

} // namespace eval::internal
