#pragma once

#include <shader/compileShader.h>

#include <QHash>
#include <QMutex>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>

namespace shader {

/// Sees to it that what several threads want compiled at the same time is compiled once: the first
/// caller does it, the others wait for its result. Any thread.
class CompilesInFlight
{
public:
    static CompilesInFlight &instance();

    /// @param key  the same for the same result
    CompileResult compileOnce(const QString &key, const std::function<CompileResult()> &compile);

    int waitingCount() const { return m_waiting; } ///< callers that wait for another's compile

private:
    struct Flight;
    std::shared_ptr<Flight> board(const QString &key, bool &isFirst);

    std::atomic<int> m_waiting = 0;
    QMutex m_mutex;
    QHash<QString, std::shared_ptr<Flight>> m_flights;
};

} // namespace shader
