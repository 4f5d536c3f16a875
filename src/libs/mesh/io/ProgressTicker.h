#pragma once

#include <mesh/io/Options.h>

namespace mesh::io {

/// Calls a progress function for every n-th element.
class ProgressTicker
{
public:
    template<typename Options>
    ProgressTicker(const Options &options, qint64 total)
        : m_progress(options.progress)
        , m_interval(options.progressInterval > 0 ? options.progressInterval : 1)
        , m_total(total)
    {}

    /// Called before element number `current` is worked on; false cancels.
    bool tick(qint64 current) const
    {
        return !m_progress || current % m_interval != 0 || m_progress(current, m_total);
    }

private:
    const Progress &m_progress;
    qint64 m_interval;
    qint64 m_total;
};

} // namespace mesh::io
