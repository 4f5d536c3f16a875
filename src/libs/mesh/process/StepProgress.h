#pragma once

#include <mesh/io/Options.h>

namespace mesh::process {

/// Asks a progress function now and then within a loop, and remembers a cancel.
class StepProgress
{
public:
    /// @param interval  units of work between two questions: some milliseconds' worth
    explicit StepProgress(const io::Progress &progress, qint64 total, qint64 interval = 16'384)
        : m_progress(progress)
        , m_total(total)
        , m_interval(interval)
    {}

    /// Counts work; false once the step was cancelled.
    bool advance(qint64 units = 1)
    {
        m_done += units;
        if (m_done >= m_next)
            ask();
        return !m_isCancelled;
    }
    bool isCancelled() const { return m_isCancelled; }

private:
    void ask()
    {
        m_next = m_done + m_interval;
        if (m_progress && !m_isCancelled)
            m_isCancelled = !m_progress(qMin(m_done, m_total), m_total);
    }

    const io::Progress &m_progress;
    qint64 m_total;
    qint64 m_interval;
    qint64 m_done = 0;
    qint64 m_next = 0;
    bool m_isCancelled = false;
};

} // namespace mesh::process
