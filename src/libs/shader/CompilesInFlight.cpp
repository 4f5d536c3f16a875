#include "CompilesInFlight.h"

#include <concurrency/Outcome.h>

#include <QWaitCondition>

using namespace Qt::StringLiterals;

namespace shader {

struct CompilesInFlight::Flight
{
    QMutex mutex;
    QWaitCondition landed;
    bool isDone = false;
    CompileResult result;
};

CompilesInFlight &CompilesInFlight::instance()
{
    static CompilesInFlight flights;
    return flights;
}

CompileResult CompilesInFlight::compileOnce(const QString &key,
                                            const std::function<CompileResult()> &compile)
{
    bool isFirst = false;
    const std::shared_ptr<Flight> flight = board(key, isFirst);
    if (!isFirst) {
        const QMutexLocker lock(&flight->mutex);
        ++m_waiting;
        while (!flight->isDone)
            flight->landed.wait(&flight->mutex);
        --m_waiting;
        return flight->result;
    }
    CompileResult result;
    const concurrency::Outcome outcome = concurrency::guarded([&] { result = compile(); });
    if (!outcome.isGood()) // the others must not wait for ever
        result = {.shader = {},
                  .errorMessage = u"The shader could not be compiled: %1"_s.arg(outcome.reason())};
    {
        const QMutexLocker lock(&m_mutex);
        m_flights.remove(key);
    }
    const QMutexLocker lock(&flight->mutex);
    flight->result = result;
    flight->isDone = true;
    flight->landed.wakeAll();
    return result;
}

std::shared_ptr<CompilesInFlight::Flight> CompilesInFlight::board(const QString &key, bool &isFirst)
{
    const QMutexLocker lock(&m_mutex);
    std::shared_ptr<Flight> &flight = m_flights[key];
    isFirst = !flight;
    if (isFirst)
        flight = std::make_shared<Flight>();
    return flight;
}

} // namespace shader
